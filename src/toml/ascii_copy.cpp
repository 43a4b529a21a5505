#include "toml/ascii_copy.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>

namespace toml_file {
namespace {

constexpr char kSign = '~';
constexpr std::string_view kNothing = "~000";
constexpr std::array<std::string_view, 4> kEscapedSigns{"\\u007e", "\\u007E", "\\U0000007e",
                                                        "\\U0000007E"};

bool is_beyond_ascii(unsigned char byte) { return byte >= 0x80; }

bool ends_with_escaped_sign(std::string_view text) {
  return std::any_of(kEscapedSigns.begin(), kEscapedSigns.end(),
                     [text](std::string_view sign) { return text.ends_with(sign); });
}

/// The number after the sign that `copy` begins with; none for another beginning.
std::optional<unsigned char> first_number(std::string_view copy) {
  if (!copy.starts_with(kSign) || copy.size() < kNothing.size()) {
    return std::nullopt;
  }
  const char* const end = copy.data() + kNothing.size();
  unsigned char number = 0;
  const auto [stop, error] = std::from_chars(copy.data() + 1, end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

}  // namespace

std::string ascii_copy(std::string_view text) {
  std::string copy;
  copy.reserve(text.size());
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte == kSign || is_beyond_ascii(byte)) {
      copy.append(1, kSign).append(std::to_string(byte));
      continue;
    }
    copy += character;
    if (ends_with_escaped_sign(copy)) {
      copy += kNothing;
    }
  }
  return copy;
}

std::string original_of(std::string_view copy) {
  std::string text;
  while (!copy.empty()) {
    const auto number = first_number(copy);
    if (number.value_or(kSign) != 0) {
      text += static_cast<char>(number.value_or(copy.front()));
    }
    copy.remove_prefix(number ? kNothing.size() : 1);
  }
  return text;
}

bool begins_beyond_ascii(std::string_view copy) {
  return is_beyond_ascii(first_number(copy).value_or(0));
}

}  // namespace toml_file

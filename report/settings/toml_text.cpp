#include "report/settings/toml_text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

// toml++ asserts that table headers and times begin as they should, and reports it right after if
// they don't. So its assertions are off, also as hints to the optimizer, which NDEBUG makes of
// them.
#undef NDEBUG
#define TOML_ASSERT(condition) static_cast<void>(0)
#define TOML_EXCEPTIONS 1
#define TOML_ENABLE_FORMATTERS 0
#define TOML_MAX_NESTED_VALUES 12
#include <toml++/toml.h>

namespace report {
namespace {

constexpr std::size_t kLargest = 1 << 20;
constexpr std::ptrdiff_t kMostDots = 200;  // keys of many parts take stack
constexpr char kSign = '~';
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

/// toml++ is undefined for some characters beyond ASCII outside quotes, so it gets a copy in which
/// each such byte, and each "~", is "~" and two digits.
std::string ascii_copy(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string copy;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x80 && character != kSign) {
      copy += character;
    } else {
      copy += {kSign, kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return copy;
}

std::string original_of(std::string_view copy) {
  std::string text;
  for (std::size_t i = 0; i < copy.size(); ++i) {
    unsigned byte = 0;
    const char* const digits = copy.data() + i + 1;
    if (copy[i] == kSign && i + 2 < copy.size() &&
        std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
      text += static_cast<char>(byte);
      i += 2;
    } else {
      text += copy[i];
    }
  }
  return text;
}

bool has_too_many_dots(std::string_view line) {
  return std::count(line.begin(), line.end(), '.') > kMostDots;
}

std::optional<TomlMistake> mistake_in_lines(std::string_view text) {
  unsigned number = 1;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (has_too_many_dots(line)) {
      return TomlMistake{number,
                         "expected at most " + std::to_string(kMostDots) + " dots in a line"};
    }
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    ++number;
  }
  return std::nullopt;
}

std::optional<double> number_of(const toml::node& node) {
  if (const auto* const integer = node.as_integer()) {
    return static_cast<double>(integer->get());
  }
  if (const auto* const real = node.as_floating_point()) {
    return real->get();
  }
  return std::nullopt;
}

TomlContent list_of(const toml::array& nodes) {
  std::vector<double> numbers;
  std::vector<std::string> texts;
  for (const toml::node& node : nodes) {
    if (const auto number = number_of(node)) {
      numbers.push_back(*number);
    } else if (const auto* const text = node.as_string()) {
      texts.push_back(original_of(text->get()));
    } else {
      return {};
    }
  }
  if (!numbers.empty() && !texts.empty()) {
    return {};
  }
  return texts.empty() ? TomlContent(std::move(numbers)) : TomlContent(std::move(texts));
}

TomlContent content_of(const toml::node& node) {
  if (const auto number = number_of(node)) {
    return *number;
  }
  if (const auto* const text = node.as_string()) {
    return original_of(text->get());
  }
  if (const auto* const flag = node.as_boolean()) {
    return flag->get();
  }
  if (const auto* const list = node.as_array()) {
    return list_of(*list);
  }
  return {};
}

void add_lines(std::vector<TomlLine>& lines, const toml::table& table, const std::string& prefix) {
  for (const auto& [key, node] : table) {
    const std::string name = prefix + original_of(key.str());
    if (const auto* const inner = node.as_table()) {
      add_lines(lines, *inner, name + ".");
    } else {
      lines.push_back({name, node.source().begin.line, content_of(node)});
    }
  }
}

}  // namespace

std::variant<std::vector<TomlLine>, TomlMistake> read_toml(std::string_view text) {
  if (text.size() > kLargest) {
    return TomlMistake{1, "expected at most 1 MiB"};
  }
  if (auto mistake = mistake_in_lines(text)) {
    return *mistake;
  }
  if (text.starts_with(kByteOrderMark)) {
    text.remove_prefix(kByteOrderMark.size());
  }
  const std::string copy = ascii_copy(text);
  try {
    std::vector<TomlLine> lines;
    add_lines(lines, toml::parse(copy), "");
    std::stable_sort(lines.begin(), lines.end(),
                     [](const TomlLine& a, const TomlLine& b) { return a.line < b.line; });
    return lines;
  } catch (const toml::parse_error& error) {
    return TomlMistake{error.source().begin.line, original_of(error.description())};
  }
}

}  // namespace report

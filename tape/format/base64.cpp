#include "tape/format/base64.h"

#include <array>
#include <cstdint>

namespace tape {
namespace {

constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> letter_values() {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::size_t i = 0; i < kLetters.size(); ++i) {
    values[static_cast<unsigned char>(kLetters[i])] = static_cast<std::int8_t>(i);
  }
  return values;
}

constexpr std::array<std::int8_t, 256> kValues = letter_values();

}  // namespace

std::string to_base64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      const bool within = at + i < bytes.size();
      group = group << 8U | (within ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += at + i > bytes.size() ? '=' : kLetters[group >> (18U - 6U * i) & 63U];
    }
  }
  return text;
}

std::optional<std::string> from_base64(std::string_view text) {
  if (text.size() % 4 != 0) {
    return std::nullopt;
  }
  std::size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') {
    ++padding;
  }
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t group = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_padding = i >= text.size() - padding;
    const std::int8_t value =
        is_padding ? std::int8_t{0} : kValues[static_cast<unsigned char>(text[i])];
    if (value < 0) {
      return std::nullopt;
    }
    group = group << 6U | static_cast<std::uint32_t>(value);
    if (i % 4 == 3) {
      bytes += static_cast<char>(group >> 16U & 255U);
      bytes += static_cast<char>(group >> 8U & 255U);
      bytes += static_cast<char>(group & 255U);
    }
  }
  const std::string_view cut(bytes.data() + bytes.size() - padding, padding);
  if (cut.find_first_not_of('\0') != std::string_view::npos) {
    return std::nullopt;  // bits that no bytes have
  }
  bytes.resize(bytes.size() - padding);
  return bytes;
}

}  // namespace tape

#include "report/figures/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace report {
namespace {

constexpr double kLargestInFixed = 1e15;

std::string words_of(double value) {
  if (std::isnan(value)) {
    return "not a number";
  }
  return value > 0 ? "infinite" : "-infinite";
}

std::string plain_fixed(double value, int decimals) {
  std::array<char, 400> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::fixed, decimals)
                       .ptr;
  return {text.data(), end};
}

std::string scientific(double value, int decimals) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::scientific, decimals)
                       .ptr;
  return {text.data(), end};
}

std::string without_minus_zero(std::string text) {
  const bool is_zero =
      text.starts_with('-') && std::all_of(text.begin() + 1, text.end(), [](char character) {
        return character == '0' || character == '.';
      });
  return is_zero ? text.substr(1) : text;
}

}  // namespace

std::string fixed(double value, int decimals) {
  if (!std::isfinite(value)) {
    return words_of(value);
  }
  if (std::abs(value) >= kLargestInFixed) {
    return scientific(value, 8);
  }
  return without_minus_zero(plain_fixed(value, decimals));
}

std::string significant(double value, int digits) {
  if (!std::isfinite(value)) {
    return words_of(value);
  }
  if (value == 0) {
    return "0";
  }
  std::string rounded = scientific(value, digits - 1);
  int exponent = 0;
  const char* const sign = rounded.data() + rounded.find('e') + 1;
  std::from_chars(sign + (*sign == '+' ? 1 : 0), rounded.data() + rounded.size(), exponent);
  if (exponent < -6 || exponent > 9) {
    return rounded;
  }
  return plain_fixed(value, std::max(0, digits - 1 - exponent));
}

std::string shortest(double value) {
  if (!std::isfinite(value)) {
    return words_of(value);
  }
  std::array<char, 64> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string with_decimal_commas(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789";
  constexpr std::string_view kOfWords =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._";
  std::string result;
  while (!text.empty()) {
    const std::size_t begin = std::min(text.find_first_of(kOfWords), text.size());
    result += text.substr(0, begin);
    text.remove_prefix(begin);
    const std::size_t end = std::min(text.find_first_not_of(kOfWords), text.size());
    std::string word(text.substr(0, end));
    text.remove_prefix(end);
    const std::size_t point = word.find_first_not_of(kDigits);
    const bool is_number = point != std::string::npos && point > 0 && word[point] == '.' &&
                           point + 1 < word.size() &&
                           kDigits.find(word[point + 1]) != std::string_view::npos &&
                           word.find('.', point + 1) == std::string::npos;
    if (is_number) {
      word[point] = ',';
    }
    result += word;
  }
  return result;
}

std::string operator_notation(double value, int decimals) {
  if (std::isnan(value)) {
    return std::signbit(value) ? "-nan" : "nan";
  }
  if (std::isinf(value)) {
    return value > 0 ? "inf" : "-inf";
  }
  return plain_fixed(value, decimals);
}

}  // namespace report

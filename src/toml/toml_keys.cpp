#include "toml/toml_keys.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

namespace toml_file {
namespace {

std::string range_text(std::int32_t low, std::int32_t high) {
  return "from " + std::to_string(low) + " to " + std::to_string(high);
}

}  // namespace

Key flag(std::string name, bool& target) {
  return {std::move(name), "true or false", [&target](const TomlValue& value) {
            const bool* given = value.as<bool>();
            target = given != nullptr && *given;
            return given != nullptr;
          }};
}

Key number(std::string name, double& target, double low, double high, const std::string& unit) {
  return {std::move(name),
          "a number from " + number_text(low) + " to " + number_text(high) +
              (unit.empty() ? "" : " " + unit),
          [&target, low, high](const TomlValue& value) {
            const std::optional<double> given = number_in(value);
            target = given.value_or(low);
            return given && target >= low && target <= high;
          }};
}

Key percent(std::string name, double& target, double low, double high) {
  Key key = number(std::move(name), target, low, high, "percent");
  key.take = [take = key.take, &target](const TomlValue& value) {
    const bool good = take(value);
    target /= 100;
    return good;
  };
  return key;
}

Key whole(std::string name, std::int32_t& target, std::int32_t low, std::int32_t high) {
  return {std::move(name), "a whole number " + range_text(low, high),
          [&target, low, high](const TomlValue& value) {
            const std::optional<std::int32_t> given = whole_in(value, low, high);
            target = given.value_or(low);
            return given.has_value();
          }};
}

Key power_of_two(std::string name, std::int32_t& target, std::int32_t low, std::int32_t high) {
  Key key = whole(std::move(name), target, low, high);
  key.expected = "a power of two " + range_text(low, high);
  key.take = [take = key.take, &target](const TomlValue& value) {
    return take(value) && (target & (target - 1)) == 0;
  };
  return key;
}

Key text(std::string name, std::string& target, std::size_t longest) {
  return {std::move(name), "a text of at most " + std::to_string(longest) + " characters",
          [&target, longest](const TomlValue& value) {
            const std::optional<std::string> given = text_in(value);
            target = given.value_or("");
            return given && target.size() <= longest && target.find('\0') == std::string::npos;
          }};
}

Key clock(std::string name, std::optional<std::int64_t>& target) {
  return {std::move(name),
          "\"system\", or a date and time with its offset like 2024-03-05T12:00:00Z",
          [&target](const TomlValue& value) {
            target.reset();
            if (const auto* moment = value.as<TomlMoment>()) {
              target = moment->seconds;
            }
            return target.has_value() || text_in(value) == "system";
          }};
}

std::string number_text(double value) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string on_one_line(const std::string& text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string line;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= ' ' && byte != 0x7f) {
      line += character;
    } else {
      line.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 15U]);
    }
  }
  return line;
}

std::optional<std::string> text_in(const TomlValue& value) {
  const auto* text = value.as<std::string>();
  return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<double> number_in(const TomlValue& value) {
  if (const auto* whole = value.as<std::int64_t>()) {
    return static_cast<double>(*whole);
  }
  const auto* number = value.as<double>();
  return number != nullptr ? std::optional(*number) : std::nullopt;
}

std::optional<std::int32_t> whole_in(const TomlValue& value, std::int32_t low, std::int32_t high) {
  const auto* whole = value.as<std::int64_t>();
  if (whole == nullptr || *whole < low || *whole > high) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(*whole);
}

bool take_texts(const TomlValue& value, const std::function<bool(const std::string&)>& take) {
  const auto* list = value.as<TomlList>();
  return list != nullptr && std::all_of(list->begin(), list->end(), [&](const TomlValue& entry) {
           const std::optional<std::string> text = text_in(entry);
           return text && take(*text);
         });
}

}  // namespace toml_file

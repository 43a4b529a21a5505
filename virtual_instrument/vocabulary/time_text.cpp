#include "virtual_instrument/vocabulary/time_text.h"

#include <array>

#include "virtual_instrument/platform/calendar.h"

namespace virtual_instrument {
namespace {

/// A conversion letter, the field it stands for and its number of digits.
struct Conversion {
  char letter;
  int CalendarTime::*field;
  std::size_t digits;
};

constexpr Conversion kConversions[] = {
    {'Y', &CalendarTime::year, 4}, {'m', &CalendarTime::month, 2},  {'d', &CalendarTime::day, 2},
    {'H', &CalendarTime::hour, 2}, {'M', &CalendarTime::minute, 2}, {'S', &CalendarTime::second, 2},
};

const Conversion* conversion_at(std::string_view format, std::size_t position) {
  if (format[position] != '%' || position + 1 == format.size()) {
    return nullptr;
  }
  for (const Conversion& conversion : kConversions) {
    if (conversion.letter == format[position + 1]) {
      return &conversion;
    }
  }
  return nullptr;
}

std::string padded(int value, std::size_t digits) {
  std::string text = std::to_string(value);
  return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
}

constexpr std::size_t kLongestName = 24;

constexpr std::string_view kNameCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";

}  // namespace

std::string time_text(std::int64_t time, std::string_view format) {
  const CalendarTime calendar = local_calendar_time(time);
  std::string text;
  for (std::size_t position = 0; position < format.size(); ++position) {
    if (const Conversion* conversion = conversion_at(format, position)) {
      text += padded(calendar.*conversion->field, conversion->digits);
      ++position;
    } else {
      text += format[position];
    }
  }
  return text;
}

bool can_name_records(std::string_view format) {
  const std::string example = time_text(0, format);
  return !example.empty() && example.size() <= kLongestName &&
         example.find_first_not_of(kNameCharacters) == std::string::npos;
}

}  // namespace virtual_instrument

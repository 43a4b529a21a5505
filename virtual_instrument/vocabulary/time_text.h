#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace virtual_instrument {

/// `time` as local time by `format`, in which %Y, %m, %d, %H, %M and %S stand for year, month, day,
/// hour, minute and second, with leading zeros; all other characters stay.
std::string time_text(std::int64_t time, std::string_view format);

/// Whether `format` can name records: known conversions only, letters, digits and "-_.", and a text
/// that fits a record ID with room for a number after it.
bool can_name_records(std::string_view format);

}  // namespace virtual_instrument

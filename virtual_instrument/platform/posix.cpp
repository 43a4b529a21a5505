#include <ctime>

#include "virtual_instrument/platform/calendar.h"

namespace virtual_instrument {

CalendarTime local_calendar_time(std::int64_t time) {
  const std::time_t seconds{time};
  std::tm parts{};
  if (localtime_r(&seconds, &parts) == nullptr) {
    return {};
  }
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

}  // namespace virtual_instrument

#include <cstdlib>
#include <ctime>

#include "virtual_instrument/platform/calendar.h"
#include "virtual_instrument/platform/process_end.h"

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

// Fails for want of memory alone; the log is then left for the next start.
void call_at_process_end(void (*action)()) noexcept { std::atexit(action); }

}  // namespace virtual_instrument

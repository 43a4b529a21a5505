#pragma once

#include <cstdint>

// Local time that is safe to ask for on any thread, which the standard library does not have
// everywhere.

namespace virtual_instrument {

/// A moment as a calendar and a clock on the wall show it: month 1 to 12, day 1 to 31.
struct CalendarTime {
  int year;
  int month;
  int day;
  int hour;
  int minute;
  int second;
};

/// `time`, in seconds since 1970, in the computer's time zone. All zero for a time that the
/// calendar can't express. Safe on any thread.
CalendarTime local_calendar_time(std::int64_t time);

}  // namespace virtual_instrument

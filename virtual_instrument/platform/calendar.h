#pragma once

#include <cstdint>

// Local time that is safe on any thread; not every standard library offers that.

namespace virtual_instrument {

/// A moment in calendar form: month 1 to 12, day 1 to 31.
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

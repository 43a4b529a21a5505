#pragma once

#include <chrono>
#include <ctime>
#include <string>

/// The program's source of time. Tests replace it, so that transcripts hold chosen times and pauses
/// take no real seconds.
struct Clock {
  std::time_t (*now)();
  int (*nanosleep)(const timespec* request, timespec* remainder);  ///< 0, or -1 with errno set
  std::chrono::system_clock::time_point (*precise_now)() = std::chrono::system_clock::now;
};

/// The system's clock; only tests replace it.
extern Clock program_clock;

/// `time` as local time by an strftime `format`, at most 127 characters; empty for a time that the
/// calendar can't express.
std::string local_time_text(std::time_t time, const char* format);

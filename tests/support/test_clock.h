#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <stdexcept>
#include <vector>

#include "common/clock.h"

/// 15 March 2021, 12:00:00 by the local time of the tests, which is an hour ahead of UTC. A day of
/// two digits, because C libraries differ in how ctime writes the others.
constexpr std::time_t kNoonInMarch = 1615806000;

/// Thrown out of a wait that would last for ever.
struct WaitedForEver : std::runtime_error {
  WaitedForEver() : std::runtime_error("waited for ever") {}
};

/// A clock for tests: it stands still, and pauses end at once. Also sets the local time zone of the
/// tests. One at a time.
class TestClock {
 public:
  explicit TestClock(std::time_t time = kNoonInMarch);
  ~TestClock();
  TestClock(const TestClock&) = delete;
  TestClock& operator=(const TestClock&) = delete;

  std::time_t now;
  /// The time in finer units than seconds, and how often it has been read.
  std::chrono::system_clock::time_point precise_now;
  int precise_readings = 0;
  /// A program that pauses more often than this waits for something that will not come, an answer
  /// for example, and gets WaitedForEver.
  static constexpr std::size_t kMostPauses = 200;

  /// The pauses that nanosleep was called with, in order.
  std::vector<timespec> sleeps;
  /// The same in milliseconds.
  std::vector<std::int64_t> sleeps_ms() const;
  /// Takes the place of a sleep: result and errno as of nanosleep. May throw to end a wait that
  /// would last for ever.
  std::function<int(const timespec* request, timespec* remainder)> on_sleep;

 private:
  Clock saved_;
};

#include "support/test_clock.h"

#include "support/process.h"

namespace {

TestClock* clock_in_use = nullptr;

std::time_t test_now() { return clock_in_use->now; }

std::chrono::system_clock::time_point test_precise_now() {
  ++clock_in_use->precise_readings;
  return clock_in_use->precise_now;
}

int test_sleep(const timespec* request, timespec* remainder) {
  clock_in_use->sleeps.push_back(*request);
  if (clock_in_use->sleeps.size() > TestClock::kMostPauses) {
    throw WaitedForEver();
  }
  return clock_in_use->on_sleep ? clock_in_use->on_sleep(request, remainder) : 0;
}

}  // namespace

TestClock::TestClock(std::time_t time)
    : now(time), precise_now(std::chrono::system_clock::from_time_t(time)), saved_(program_clock) {
  set_environment("TZ", "CET-1");
  clock_in_use = this;
  program_clock = {test_now, test_sleep, test_precise_now};
}

TestClock::~TestClock() {
  program_clock = saved_;
  clock_in_use = nullptr;
}

std::vector<std::int64_t> TestClock::sleeps_ms() const {
  std::vector<std::int64_t> milliseconds;
  for (const timespec& sleep : sleeps) {
    milliseconds.push_back(std::int64_t{sleep.tv_sec} * 1000 + sleep.tv_nsec / 1'000'000);
  }
  return milliseconds;
}

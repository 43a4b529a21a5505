#include "support/test_clock.h"

#include "support/process.h"

namespace {

TestClock* clock_in_use = nullptr;

std::time_t test_now() { return clock_in_use->now; }

int test_sleep(const timespec* request, timespec* remainder) {
  clock_in_use->sleeps.push_back(*request);
  return clock_in_use->on_sleep ? clock_in_use->on_sleep(request, remainder) : 0;
}

}  // namespace

TestClock::TestClock(std::time_t time) : now(time), saved_(program_clock) {
  set_environment("TZ", "CET-1");
  clock_in_use = this;
  program_clock.now = test_now;
  program_clock.nanosleep = test_sleep;
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

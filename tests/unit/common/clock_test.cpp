#include "common/clock.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/test_clock.h"

namespace {

TEST(ProgramClock, IsTheSystemsUntilReplaced) {
  const std::time_t before = std::time(nullptr);
  const std::time_t now = program_clock.now();
  EXPECT_LE(before, now);
  EXPECT_LE(now, std::time(nullptr));
  const timespec no_time{};
  EXPECT_EQ(program_clock.nanosleep(&no_time, nullptr), 0);
  EXPECT_EQ(program_clock.precise_now, &std::chrono::system_clock::now);
}

TEST(LocalTimeText, WritesTheFormatsOfTheProgram) {
  const TestClock clock;
  EXPECT_EQ(local_time_text(kNoonInMarch, "%Y%m%d_%H_%M_%S"), "20210315_12_00_00");
  EXPECT_EQ(local_time_text(kNoonInMarch, "%d-%m-%Y %H-%M-%S"), "15-03-2021 12-00-00");
  EXPECT_EQ(local_time_text(kNoonInMarch, "%a, %d.%m.%Y %H:%M:%S"), "Mon, 15.03.2021 12:00:00");
}

TEST(LocalTimeText, KnowsTimesBefore1970) {
  const TestClock clock;
  if (const std::time_t before = -1; std::localtime(&before) == nullptr) {
    GTEST_SKIP() << "this C library begins with 1970";
  }
  EXPECT_EQ(local_time_text(-1, "%d.%m.%Y %H:%M:%S"), "01.01.1970 00:59:59");
}

TEST(LocalTimeText, HoldsUpTo127Characters) {
  const TestClock clock;
  EXPECT_EQ(local_time_text(kNoonInMarch, std::string(127, 'x').c_str()), std::string(127, 'x'));
  EXPECT_EQ(local_time_text(kNoonInMarch, std::string(128, 'x').c_str()), "");
}

TEST(LocalTimeText, IsEmptyForATimeBeyondTheCalendar) {
  EXPECT_EQ(local_time_text(std::numeric_limits<std::time_t>::max(), "%Y"), "");
}

}  // namespace

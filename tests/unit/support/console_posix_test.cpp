#include <gtest/gtest.h>

#include <ctime>
#include <iostream>

#include "support/console.h"
#include "support/thread_sanitizer.h"

namespace {

void wait_for_a_line_feed() {
  const Console console("letters");
  while (std::cin.get() != '\n') {
  }
}

TEST(ConsoleDeathTest, AProgramThatReadsForEverWithoutOutputEndsTheProcess) {
  if (kUnderThreadSanitizer) {
    GTEST_SKIP() << "signals wait for the next call of the system there, and none comes";
  }
  EXPECT_DEATH(wait_for_a_line_feed(),
               "the program goes round and round without a pause after the last answer");
}

// Passes if the process goes on.
TEST(ProcessorLimit, HasNoEffectOnceItIsDestroyed) {
  { const ProcessorLimit limit(1, "too late\n"); }
  const std::clock_t end = std::clock() + CLOCKS_PER_SEC * 3 / 2;
  while (std::clock() < end) {
  }
}

}  // namespace

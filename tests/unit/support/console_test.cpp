#include "support/console.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

namespace {

void ask_for_ever() {
  const Console console("one answer\n");
  // Long, so that the amount of output ends it before its time is up.
  const std::string prompt = std::string(4096, '.') + "Next: ";
  for (std::string line;;) {
    std::cout << prompt;
    std::getline(std::cin, line);
  }
}

TEST(ConsoleDeathTest, AProgramThatAsksForEverEndsTheProcess) {
  EXPECT_DEATH(ask_for_ever(),
               "In ConsoleDeathTest.AProgramThatAsksForEverEndsTheProcess the program goes on and "
               "on, after 16777216 bytes of output. Is there no "
               "pause_at_end_of_input\\(\\) where it asks again\\? It ended with:\n.*\\.\\.Next: ");
}

}  // namespace

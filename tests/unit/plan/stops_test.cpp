#include "plan/stops.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <sstream>

#include "plan/runner.h"
#include "plan/verdict.h"
#include "support/console.h"
#include "support/scripted_client_api.h"
#include "support/session_state.h"

// Each stop in a process of its own, which reports on standard error.

namespace {

using testing::ExitedWithCode;
using testing::HasSubstr;

void begin() {
  std::cout.rdbuf(std::cerr.rdbuf());
  scripted_api().reset();
  reset_session();
}

[[noreturn]] void stop_twice_while_locked() {
  begin();
  scripted_api().on_call = [](const SeenCall& call) { std::cerr << '[' << call.line << "]\n"; };
  scripted_api().answer(ApiCall::UnlockAPI, {.result = KVR_RES_TESTING_IN_PROGRESS});
  const LockedRun locked;
  take_stop_event(0);
  take_stop_event(0);
  std::_Exit(1);
}

TEST(StopsDeathTest, TheSecondOneUnlocksAndEndsAtOnce) {
  EXPECT_EXIT(stop_twice_while_locked(), ExitedWithCode(40),
              "Second stop: ends at once.\n\\[kvr_UnlockAPI\\]\n\\[kvr_UnlockAPI\\]\n");
}

[[noreturn]] void stop_twice() {
  begin();
  scripted_api().on_call = [](const SeenCall& call) { std::cerr << '[' << call.line << "]\n"; };
  take_stop_event(0);
  take_stop_event(1);
  std::_Exit(1);
}

TEST(StopsDeathTest, TheSecondOneUnlocksNothingThatIsNotLocked) {
  EXPECT_EXIT(stop_twice(), ExitedWithCode(40), "Second stop: ends at once.\n$");
}

[[noreturn]] void close_console() {
  begin();
  take_stop_event(2);
  std::_Exit(1);
}

TEST(StopsDeathTest, AClosedConsoleLeavesFiveSeconds) {
  EXPECT_EXIT(close_console(), ExitedWithCode(40),
              "The plan has not ended in time: ends at once.\n$");
}

[[noreturn]] void stop_just_before_a_test() {
  begin();
  Plan plan;
  PlannedTest test;
  test.voltages = {{0, 8}};
  plan.tests = {test};
  std::ostringstream out;
  JsonLines lines(out);
  PlanRunner runner(plan, lines);
  {
    const OutputWatcher watcher("Testing at voltage", [] { take_stop_event(0); });
    runner.run();
  }
  std::cerr << "tests: " << scripted_api().count(ApiCall::Test_Ratio_1ph) << '\n';
  std::exit(runner.end().exit_status);
}

TEST(StopsDeathTest, OneJustBeforeATestKeepsItFromBeginning) {
  EXPECT_EXIT(stop_just_before_a_test(), ExitedWithCode(40), "tests: 0\n");
}

}  // namespace

#include "console/stop_handling.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

#include "support/log_capture.h"
#include "support/meeting_point.h"
#include "support/process.h"
#include "support/session_test.h"
#include "support/thread_sanitizer.h"

namespace {

using testing::ElementsAre;
using testing::Eq;
using testing::ExitedWithCode;
using testing::IsEmpty;

class ControlHandler : public SessionTest {};

/// The log text of an event that means stop; nullopt for any other.
std::optional<std::string> log_text(unsigned long event) {
  switch (event) {
    case 0:
      return "CTRL-C event";
    case 1:
      return "CTRL-BREAK event";
    case 2:
      return "CTRL-CLOSE event";
    case 5:
      return "CTRL-LOGOFF event";
    case 6:
      return "CTRL-SHUTDOWN event";
    case 16:
      return "WM_CLOSE event";
    default:
      return std::nullopt;
  }
}

std::vector<unsigned long> many_events() {
  std::vector<unsigned long> events = {100, 255, 256, 65552, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  for (unsigned long event = 0; event <= 20; ++event) {
    events.push_back(event);
  }
  return events;
}

TEST_F(ControlHandler, TakesTheEventsThatMeanStop) {
  for (const unsigned long event : many_events()) {
    std::vector<int> handled;
    stop_handler = [&](int code) { handled.push_back(code); };
    LogCapture log;
    const int result = CtrlHandler(event);
    if (const auto text = log_text(event)) {
      EXPECT_EQ(result, 1) << event;
      EXPECT_THAT(handled, ElementsAre(static_cast<int>(event)));
      EXPECT_THAT(log.lines, ElementsAre(LogLine{plog::info, *text}));
    } else {
      EXPECT_EQ(result, 0) << event;
      EXPECT_THAT(handled, IsEmpty()) << event;
      EXPECT_THAT(log.lines, IsEmpty()) << event;
    }
  }
}

TEST_F(ControlHandler, CallsTheHandlerWithoutALogger) {
  int handled = -1;
  stop_handler = [&](int code) { handled = code; };
  EXPECT_EQ(CtrlHandler(16), 1);
  EXPECT_EQ(handled, 16);
}

TEST_F(ControlHandler, CallsTheHandlerWhereTheLoggerTakesOnlyWarnings) {
  int handled = -1;
  stop_handler = [&](int code) { handled = code; };
  LogCapture log(plog::warning);
  EXPECT_EQ(CtrlHandler(5), 1);
  EXPECT_EQ(handled, 5);
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(ControlHandler, ConsumesTheEventWithoutAHandler) {
  stop_handler = nullptr;
  LogCapture log;
  EXPECT_EQ(CtrlHandler(0), 1);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{plog::info, "CTRL-C event"}));
  EXPECT_EQ(CtrlHandler(3), 0);
}

TEST_F(ControlHandler, LogsBeforeItCalls) {
  LogCapture log;
  stop_handler = [&](int) { EXPECT_EQ(log.lines.size(), 1U); };
  CtrlHandler(2);
  EXPECT_EQ(log.lines.size(), 1U);
}

// Registration changes the process's signals, so these tests run in processes of their own.
class RegisterStopHandler : public SessionTest {
 protected:
  RegisterStopHandler() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

void register_and_raise() {
  const std::function<void(int)> first = [](int) { std::cerr << "the first one\n"; };
  const std::function<void(int)> second = [](int event) {
    std::cerr << "event " << event << '\n';
    std::_Exit(0);
  };
  std::cerr << SignalHandler::RegisterStopHandler(first);
  std::cerr << SignalHandler::RegisterStopHandler(second) << '\n';
  raise_console_event();
  std::this_thread::sleep_for(std::chrono::seconds(10));
  std::_Exit(1);
}

TEST_F(RegisterStopHandler, DeliversEventsToTheLastHandlerRegistered) {
  if (kUnderThreadSanitizer) {
    GTEST_SKIP() << "registering again while events can come is a race, and the program never does";
  }
  EXPECT_EXIT(register_and_raise(), ExitedWithCode(0), Eq("11\nevent 0\n"));
}

/// A handler that reports when a copy of it is destroyed.
struct ReportsItsEnd {
  std::shared_ptr<int> alive = std::make_shared<int>(0);
  void operator()(int) const {}
};

TEST_F(RegisterStopHandler, CopiesItsArgumentAndDestroysTheOneBefore) {
  EXPECT_EXIT(
      {
        const ReportsItsEnd reporter;
        const std::function<void(int)> handler = reporter;
        const auto before = reporter.alive.use_count();
        SignalHandler::RegisterStopHandler(handler);
        std::cerr << reporter.alive.use_count() - before;
        SignalHandler::RegisterStopHandler([](int) {});
        std::cerr << reporter.alive.use_count() - before << (handler ? " kept" : " taken");
        SignalHandler::RegisterStopHandler(nullptr);
        std::cerr << (stop_handler ? " set" : " empty");
        std::_Exit(0);
      },
      ExitedWithCode(0), Eq("10 kept empty"));
}

class StopOrTerminate : public SessionTest {
 protected:
  StopOrTerminate() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

const char* const kFirstSignal =
    "Cancelling current operation...\n"
    "BEFORE kvr_CancelOperation\n"
    "AFTER kvr_CancelOperation\n";

TEST_F(StopOrTerminate, CancelsTheOperationOnTheFirstSignal) {
  const Console console;
  stop_or_terminate(0);
  EXPECT_TRUE(stop_signal_seen);
  ASSERT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\n"));
  EXPECT_EQ(console.output(), kFirstSignal);
  EXPECT_EQ(call_lines(), "kvr_CancelOperation\n");
}

TEST_F(StopOrTerminate, ReportsTheCallWhateverItReturns) {
  api.answer(ApiCall::CancelOperation, {.result = KVR_RES_TEST_NOT_RUNNING});
  const Console console;
  stop_or_terminate(6);
  ASSERT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\n"));
  EXPECT_EQ(console.output(), kFirstSignal);
}

TEST_F(StopOrTerminate, ReturnsWhileTheCallBlocks) {
  std::atomic<bool> let_go = false;
  api.answer(ApiCall::CancelOperation, {.meanwhile = [&] {
               while (!let_go) {
                 std::this_thread::yield();
               }
             }});
  const Console console;
  stop_or_terminate(0);
  ASSERT_TRUE(console.wait_for_output("BEFORE kvr_CancelOperation\n"));
  EXPECT_EQ(console.output(), "Cancelling current operation...\nBEFORE kvr_CancelOperation\n");
  let_go = true;
  ASSERT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\n"));
}

TEST_F(StopOrTerminate, CallsFromAThreadOfItsOwn) {
  std::thread::id caller;
  api.answer(ApiCall::CancelOperation, {.meanwhile = [&] { caller = std::this_thread::get_id(); }});
  const Console console;
  stop_or_terminate(0);
  ASSERT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\n"));
  EXPECT_NE(caller, std::this_thread::get_id());
}

TEST_F(StopOrTerminate, CountsAgainOnceTheSignalIsForgotten) {
  const Console console;
  stop_or_terminate(0);
  ASSERT_TRUE(console.wait_for_output(kFirstSignal));
  stop_signal_seen = false;  // as the main menu does
  stop_or_terminate(0);
  ASSERT_TRUE(console.wait_for_output(std::string(kFirstSignal) + kFirstSignal));
  EXPECT_EQ(api.count(ApiCall::CancelOperation), 2U);
}

// The flag is set last: a signal that arrives while the first one is handled finds it clear.
TEST_F(StopOrTerminate, CountsASignalDuringTheFirstOneAsAFirstOneToo) {
  MeetingPoint both_called(2);
  api.answer_always(ApiCall::CancelOperation,
                    {.meanwhile = [&] { both_called.arrive_and_wait(); }});
  const Console console;
  bool seen = true;
  const OutputWatcher watcher("Cancelling", [&] {
    seen = stop_signal_seen;
    stop_or_terminate(1);
  });
  stop_or_terminate(0);
  EXPECT_FALSE(seen);
  EXPECT_TRUE(stop_signal_seen);
  ASSERT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\nAFTER kvr_CancelOperation\n"));
  EXPECT_EQ(call_lines(), "kvr_CancelOperation\nkvr_CancelOperation\n");
}

/// Runs in a process of its own: sends a second signal; all output and calls go to standard error.
void stop_a_second_time(int event) {
  std::cout.rdbuf(std::cerr.rdbuf());
  ScriptedClientApi& api = scripted_api();
  api.reset();
  api.on_call = [](const SeenCall& call) { std::cerr << '[' << call.line << "]\n"; };
  stop_signal_seen = true;
  stop_or_terminate(event);
}

TEST_F(StopOrTerminate, EndsTheProcessOnTheSecondSignalWithTheEventAsItsStatus) {
  const auto message = Eq(" second signal - terminate immediately\n");
  EXPECT_EXIT(stop_a_second_time(0), ExitedWithCode(0), message);
  EXPECT_EXIT(stop_a_second_time(1), ExitedWithCode(1), message);
  EXPECT_EXIT(stop_a_second_time(2), ExitedWithCode(2), message);
  EXPECT_EXIT(stop_a_second_time(5), ExitedWithCode(5), message);
  EXPECT_EXIT(stop_a_second_time(6), ExitedWithCode(6), message);
  EXPECT_EXIT(stop_a_second_time(16), ExitedWithCode(16), message);
}

void stop_twice(int first, int second) {
  std::cout.rdbuf(std::cerr.rdbuf());
  std::atomic<bool> called = false;
  scripted_api().reset();
  scripted_api().answer(ApiCall::CancelOperation, {.meanwhile = [&] {
                          called = true;
                          std::this_thread::sleep_for(std::chrono::seconds(10));
                        }});
  stop_or_terminate(first);
  while (!called) {
    std::this_thread::yield();
  }
  stop_or_terminate(second);
}

TEST_F(StopOrTerminate, GivesTheSecondEventAsStatusAndWaitsForNoCall) {
  EXPECT_EXIT(stop_twice(0, 1), ExitedWithCode(1),
              Eq("Cancelling current operation...\n"
                 "BEFORE kvr_CancelOperation\n"
                 " second signal - terminate immediately\n"));
}

class EndAfterEvent : public StopOrTerminate {
 protected:
  EndAfterEvent() { clock.on_sleep = nanosleep; }  // a real sleep: other threads go on meanwhile
};

const std::string kEnd = std::string(kFirstSignal) + " second signal - terminate immediately\n";

/// Runs in a process of its own; all output and calls go to standard error.
void begin_to_watch(ScriptedClientApi& api) {
  std::cout.rdbuf(std::cerr.rdbuf());
  stop_handler = stop_or_terminate;
  api.reset();
}

TEST_F(EndAfterEvent, CancelsAndThenEndsWithTheEventAsItsStatus) {
  const auto end_at_a_prompt = [](unsigned long event) {
    begin_to_watch(scripted_api());
    const AwaitingAnswer awaiting;
    end_after_event(event);
  };
  EXPECT_EXIT(end_at_a_prompt(2), ExitedWithCode(2), Eq(kEnd));
  EXPECT_EXIT(end_at_a_prompt(6), ExitedWithCode(6), Eq(kEnd));
}

TEST_F(EndAfterEvent, WaitsUntilTheProgramWaitsForAnAnswer) {
  EXPECT_EXIT(
      {
        begin_to_watch(scripted_api());
        std::thread([] { end_after_event(6); }).detach();
        while (!is_ending()) {
          std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        std::cerr << "at a prompt\n";
        const AwaitingAnswer awaiting;
        std::this_thread::sleep_for(std::chrono::seconds(10));
        std::_Exit(1);
      },
      ExitedWithCode(6),
      Eq(std::string(kFirstSignal) + "at a prompt\n second signal - terminate immediately\n"));
}

TEST_F(EndAfterEvent, CountsAsAPromptOnlyOnceAllAnswersAreGiven) {
  EXPECT_EXIT(
      {
        begin_to_watch(scripted_api());
        const AwaitingAnswer outer;
        { const AwaitingAnswer inner; }
        end_after_event(6);
      },
      ExitedWithCode(6), Eq(kEnd));
}

class SleepMs : public SessionTest {};

TEST_F(SleepMs, ReturnsAtOnceForZeroAndLess) {
  sleep_ms(0);
  sleep_ms(-1);
  sleep_ms(std::numeric_limits<std::int32_t>::min());
  EXPECT_THAT(clock.sleeps, IsEmpty());
}

TEST_F(SleepMs, SplitsIntoSecondsAndNanoseconds) {
  using Split = std::pair<std::int64_t, std::int64_t>;
  const auto request_for = [&](std::int32_t milliseconds) {
    clock.sleeps.clear();
    sleep_ms(milliseconds);
    EXPECT_EQ(clock.sleeps.size(), 1U);
    return Split(clock.sleeps[0].tv_sec, clock.sleeps[0].tv_nsec);
  };
  EXPECT_EQ(request_for(1), Split(0, 1'000'000));
  EXPECT_EQ(request_for(999), Split(0, 999'000'000));
  EXPECT_EQ(request_for(1000), Split(1, 0));
  EXPECT_EQ(request_for(1001), Split(1, 1'000'000));
  EXPECT_EQ(request_for(2147483647), Split(2147483, 647'000'000));
}

TEST_F(SleepMs, GoesOnForTheTimeLeftAfterASignal) {
  const std::vector<timespec> left = {{1, 250'000'000}, {0, 5}};
  clock.on_sleep = [&](const timespec* request, timespec* remainder) {
    EXPECT_EQ(request, remainder);  // the same structure serves as both
    if (clock.sleeps.size() > left.size()) {
      return 0;
    }
    *remainder = left[clock.sleeps.size() - 1];
    errno = EINTR;
    return -1;
  };
  sleep_ms(1500);
  ASSERT_EQ(clock.sleeps.size(), 3U);
  EXPECT_EQ(clock.sleeps[0].tv_sec, 1);
  EXPECT_EQ(clock.sleeps[0].tv_nsec, 500'000'000);
  EXPECT_EQ(clock.sleeps[1].tv_sec, 1);
  EXPECT_EQ(clock.sleeps[1].tv_nsec, 250'000'000);
  EXPECT_EQ(clock.sleeps[2].tv_sec, 0);
  EXPECT_EQ(clock.sleeps[2].tv_nsec, 5);
}

TEST_F(SleepMs, GivesUpSilentlyOnAnyOtherFailure) {
  clock.on_sleep = [](const timespec*, timespec*) {
    errno = EINVAL;
    return -1;
  };
  const Console console;
  sleep_ms(1500);
  EXPECT_EQ(clock.sleeps.size(), 1U);
  EXPECT_EQ(console.output(), "");
}

}  // namespace

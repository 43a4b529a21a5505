#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "platform/platform.h"
#include "support/process.h"
#include "support/refused_threads_posix.h"
#include "unit/platform/console_events.h"

namespace {

using testing::Eq;
// Signals, each in a process of its own, which reports on standard error.

[[noreturn]] void raise_and_wait(int signal) {
  std::signal(SIGHUP, SIG_DFL);  // the tests may run with it ignored
  platform::install_console_handler(tell_event_and_leave, tell_end_and_leave);
  kill(getpid(), signal);
  std::this_thread::sleep_for(std::chrono::seconds(10));
  std::_Exit(1);
}

TEST_F(ConsoleEvents, OfTheKeyboardAndOfTheSystem) {
  EXPECT_EXIT(raise_and_wait(SIGINT), testing::ExitedWithCode(0), Eq("event 0"));
  EXPECT_EXIT(raise_and_wait(SIGQUIT), testing::ExitedWithCode(0), Eq("event 1"));
  EXPECT_EXIT(raise_and_wait(SIGHUP), testing::ExitedWithCode(0), Eq("end after event 2"));
  EXPECT_EXIT(raise_and_wait(SIGTERM), testing::ExitedWithCode(0), Eq("end after event 6"));
}

TEST_F(ConsoleEvents, LeaveOtherSignalsAlone) {
  EXPECT_EXIT(raise_and_wait(SIGUSR2), testing::KilledBySignal(SIGUSR2), "");
}

TEST_F(ConsoleEvents, LeaveAnIgnoredHangUpIgnored) {
  EXPECT_EXIT(
      {
        std::signal(SIGHUP, SIG_IGN);
        platform::install_console_handler(tell_event_and_leave, tell_end_and_leave);
        kill(getpid(), SIGHUP);
        wait_a_moment();  // it would be reported first
        kill(getpid(), SIGTERM);
        std::this_thread::sleep_for(std::chrono::seconds(10));
        std::_Exit(1);
      },
      testing::ExitedWithCode(0), Eq("end after event 6"));
}

std::atomic<int> ends_seen = 0;

void count_ends(unsigned long event) {
  if (event == 6) {
    std::cerr << ends_seen << " before";
    std::_Exit(0);
  }
  ++ends_seen;
}

TEST_F(ConsoleEvents, CountSeveralHangUpsAsOne) {
  EXPECT_EXIT(
      {
        std::signal(SIGHUP, SIG_DFL);
        platform::install_console_handler(tell_event_and_leave, count_ends);
        for (int i = 0; i < 3; ++i) {
          kill(getpid(), SIGHUP);
          wait_a_moment();
        }
        kill(getpid(), SIGTERM);
        std::this_thread::sleep_for(std::chrono::seconds(10));
        std::_Exit(1);
      },
      testing::ExitedWithCode(0), Eq("1 before"));
}

/// Makes a terminal standard input or output, but not the controlling terminal; returns its
/// keyboard end.
int use_terminal_as(int descriptor) {
  setsid();
  const int keyboard = posix_openpt(O_RDWR | O_NOCTTY);
  grantpt(keyboard);
  unlockpt(keyboard);
  const int terminal = open(ptsname(keyboard), O_RDWR | O_NOCTTY);
  dup2(terminal, descriptor);
  close(terminal);
  return keyboard;
}

[[noreturn]] void close_terminal_of(int descriptor) {
  std::signal(SIGHUP, SIG_DFL);
  use_as_standard_input("");
  const int keyboard = use_terminal_as(descriptor);
  platform::install_console_handler(tell_event_and_leave, tell_end_and_leave);
  wait_a_moment();
  std::cerr << (platform::input_terminal_is_closed() ? "closed, " : "open, ");
  close(keyboard);
  std::this_thread::sleep_for(std::chrono::seconds(10));
  std::_Exit(1);
}

TEST_F(ConsoleEvents, TakeTheClosingOfAnyTerminalAsAHangUp) {
  EXPECT_EXIT(close_terminal_of(STDIN_FILENO), testing::ExitedWithCode(0),
              Eq("open, end after event 2"));
  EXPECT_EXIT(close_terminal_of(STDOUT_FILENO), testing::ExitedWithCode(0),
              Eq("open, end after event 2"));
}

TEST_F(ConsoleEvents, TakeATerminalThatWasClosedBeforeAsAHangUp) {
  EXPECT_EXIT(
      {
        std::signal(SIGHUP, SIG_DFL);
        close(use_terminal_as(STDIN_FILENO));
        platform::install_console_handler(tell_event_and_leave, tell_end_and_leave);
        std::this_thread::sleep_for(std::chrono::seconds(10));
        std::_Exit(1);
      },
      testing::ExitedWithCode(0), Eq("end after event 2"));
}

void tell_whether_input_is_closed(bool ignore_hang_up, bool close_it) {
  std::signal(SIGHUP, ignore_hang_up ? SIG_IGN : SIG_DFL);
  const int keyboard = use_terminal_as(STDIN_FILENO);
  platform::install_console_handler(tell_event_and_leave, [](unsigned long /*event*/) {});
  if (close_it) {
    close(keyboard);
  }
  std::cerr << (platform::input_terminal_is_closed() ? "closed" : "open");
  std::_Exit(0);
}

TEST_F(ConsoleEvents, DistinguishAClosedTerminalFromAnOpenOne) {
  const testing::ExitedWithCode success(0);
  EXPECT_EXIT(tell_whether_input_is_closed(false, true), success, Eq("closed"));
  EXPECT_EXIT(tell_whether_input_is_closed(false, false), success, Eq("open"));
}

TEST_F(ConsoleEvents, DoNotComeFromATerminalUnderNohup) {
  EXPECT_EXIT(tell_whether_input_is_closed(true, true), testing::ExitedWithCode(0), Eq("open"));
}

// The end of the process.

class EndOfProcess : public ConsoleEvents {};

/// Ends the process on another thread while this one waits for a line of standard input.
[[noreturn]] void end_while_input_is_awaited() {
  const int keyboard = use_terminal_as(STDIN_FILENO);
  platform::install_console_handler(tell_event_and_leave, tell_end_and_leave);
  std::thread([] {
    wait_a_moment();
    platform::end_process(3);
  }).detach();
  std::string line;
  std::getline(std::cin, line);
  close(keyboard);
  std::_Exit(1);
}

TEST_F(EndOfProcess, DoesNotWaitForAReaderOfStandardInput) {
  EXPECT_EXIT(end_while_input_is_awaited(), testing::ExitedWithCode(3), "");
}

TEST_F(EndOfProcess, IsThatOfTheFirstThread) {
  EXPECT_EXIT(
      {
        std::atexit([] {  // the first thread is in here while the second one comes
          std::thread(platform::end_process, 4).detach();
          wait_a_moment();
          std::cerr << "once ";
        });
        platform::end_process(3);
      },
      testing::ExitedWithCode(3), Eq("once "));
}

std::atomic<int> events_seen = 0;

/// Stays in the handler of the first event until the second one has come.
int wait_for_another_event(unsigned long /*event*/) {
  if (++events_seen == 2) {
    std::cerr << "second event while the first is at work";
    std::_Exit(0);
  }
  std::this_thread::sleep_for(std::chrono::seconds(10));
  std::_Exit(1);
}

TEST_F(ConsoleEvents, ComeOnAThreadEach) {
  EXPECT_EXIT(
      {
        platform::install_console_handler(wait_for_another_event, tell_end_and_leave);
        kill(getpid(), SIGINT);
        while (events_seen == 0) {
          std::this_thread::yield();
        }
        kill(getpid(), SIGINT);
        std::this_thread::sleep_for(std::chrono::seconds(10));
        std::_Exit(1);
      },
      testing::ExitedWithCode(0), Eq("second event while the first is at work"));
}

TEST_F(ConsoleEvents, DoNotInterruptABlockedRead) {
  EXPECT_EXIT(
      {
        int ends[2];
        static_cast<void>(pipe(ends));
        platform::install_console_handler(
            [](unsigned long /*event*/) {
              ++events_seen;
              return 1;
            },
            tell_end_and_leave);
        std::thread([&ends] {
          kill(getpid(), SIGINT);
          while (events_seen == 0) {
            std::this_thread::yield();
          }
          static_cast<void>(write(ends[1], "k", 1));
        }).detach();
        char byte = 0;
        std::cerr << "read " << read(ends[0], &byte, 1) << ' ' << byte;
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("read 1 k"));
}

TEST_F(ConsoleEvents, CanBeInstalled) {
  EXPECT_EXIT(
      {
        std::cerr << platform::install_console_handler(tell_event_and_leave, tell_end_and_leave);
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("1"));
}

TEST_F(ConsoleEvents, HaveTheirDefaultEffectWhereNoThreadCanHandleThem) {
  EXPECT_EXIT(
      {
        refuse_new_threads();
        std::cerr << platform::install_console_handler(tell_event_and_leave, tell_end_and_leave);
        kill(getpid(), SIGTERM);
      },
      testing::KilledBySignal(SIGTERM), Eq("0"));
}

}  // namespace

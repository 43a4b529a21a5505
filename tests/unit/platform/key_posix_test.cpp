#include <fcntl.h>
#include <gmock/gmock.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <thread>

#include "platform/platform.h"
#include "support/process.h"
#include "support/thread_sanitizer.h"
#include "unit/platform/console_events.h"

namespace fs = std::filesystem;

namespace {

using testing::Eq;
// A key, in a process without a terminal.

class WaitForKey : public ConsoleEvents {};

void wait_for_key_of(const std::string& input) {
  use_as_standard_input(input);
  platform::wait_for_key();
  char next = '-';
  static_cast<void>(read(STDIN_FILENO, &next, 1));
  std::cerr << "went on before " << next;
  std::_Exit(0);
}

TEST_F(WaitForKey, TakesOneByteOfStandardInput) {
  EXPECT_EXIT(wait_for_key_of("xyz"), testing::ExitedWithCode(0), Eq("went on before y"));
}

TEST_F(WaitForKey, TakesTheEndOfStandardInputForAKey) {
  EXPECT_EXIT(wait_for_key_of(""), testing::ExitedWithCode(0), Eq("went on before -"));
}

TEST_F(WaitForKey, SurvivesAClosedStandardInput) {
  EXPECT_EXIT(
      {
        use_as_standard_input("");
        close(STDIN_FILENO);
        platform::wait_for_key();
        std::cerr << "went on";
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("went on"));
}

std::atomic<int> signals_seen = 0;

void count_signal(int /*signal*/) { ++signals_seen; }

/// Counts SIGUSR2, which interrupts blocking system calls.
void let_a_signal_interrupt() {
  struct sigaction action {};
  action.sa_handler = count_signal;
  sigaction(SIGUSR2, &action, nullptr);
}

/// Interrupts a thread and returns once that has happened.
void interrupt(pthread_t thread) {
  const int before = signals_seen;
  pthread_kill(thread, SIGUSR2);
  while (signals_seen == before) {
    std::this_thread::yield();
  }
}

TEST_F(WaitForKey, GoesOnWaitingAfterASignal) {
  EXPECT_EXIT(
      {
        let_a_signal_interrupt();
        setsid();
        int ends[2];
        static_cast<void>(pipe(ends));
        dup2(ends[0], STDIN_FILENO);
        std::atomic<bool> is_typed = false;
        std::thread typist([&] {
          wait_a_moment();  // it waits now
          interrupt(main_thread);
          wait_a_moment();
          is_typed = true;
          static_cast<void>(write(ends[1], "k", 1));
        });
        platform::wait_for_key();
        std::cerr << "went on " << (is_typed ? "after" : "before") << " the key";
        typist.join();
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("went on after the key"));
}

// In a process with a terminal of its own, whose other end the test holds.

bool hands_over_lines(int keyboard) {
  termios settings{};
  tcgetattr(keyboard, &settings);
  return (settings.c_lflag & ICANON) != 0 && (settings.c_lflag & ECHO) != 0;
}

void wait_until_unbuffered(int keyboard) {
  while (hands_over_lines(keyboard)) {
    std::this_thread::yield();
  }
}

/// Types a key once the terminal delivers each key at once.
void type_unbuffered(int keyboard, const char* key) {
  wait_until_unbuffered(keyboard);
  static_cast<void>(write(keyboard, key, 1));
}

/// Makes a new pseudo-terminal the controlling terminal and standard input of the process. Returns
/// the end where keys are typed.
int take_pseudo_terminal() {
  alarm(30);  // ends the process if it hangs, outside the session of the tests
  setsid();
  const int keyboard = posix_openpt(O_RDWR | O_NOCTTY);
  grantpt(keyboard);
  unlockpt(keyboard);
  const int terminal = open(ptsname(keyboard), O_RDWR);  // the first one opened takes control
  dup2(terminal, STDIN_FILENO);
  return keyboard;
}

TEST_F(WaitForKey, TakesAKeyOfTheTerminalWithoutEnterAndEcho) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        std::thread typist(type_unbuffered, keyboard, "k");
        platform::wait_for_key();
        typist.join();
        fcntl(keyboard, F_SETFL, O_NONBLOCK);
        char echo = '-';
        static_cast<void>(read(keyboard, &echo, 1));
        std::cerr << "echo " << echo << (hands_over_lines(keyboard) ? ", restored" : "");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("echo -, restored"));
}

TEST_F(WaitForKey, WaitsWhateverTheTerminalWasSetTo) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        termios settings{};
        tcgetattr(keyboard, &settings);
        settings.c_cc[VMIN] = 0;  // a read waits for nothing
        tcsetattr(keyboard, TCSANOW, &settings);
        for (int i = 0; i < 2; ++i) {  // and a second time
          std::atomic<bool> is_typed = false;
          std::thread typist([keyboard, &is_typed] {
            wait_until_unbuffered(keyboard);
            wait_a_moment();
            is_typed = true;
            static_cast<void>(write(keyboard, "k", 1));
          });
          platform::wait_for_key();
          std::cerr << (is_typed ? "after" : "before") << " the key, ";
          typist.join();
        }
        tcgetattr(keyboard, &settings);
        std::cerr << int{settings.c_cc[VMIN]} << (hands_over_lines(keyboard) ? " restored" : "");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("after the key, after the key, 0 restored"));
}

TEST_F(WaitForKey, TakesAKeyOfTheTerminalWhenStandardInputIsClosed) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        close(STDIN_FILENO);  // the next file opened gets its number
        std::thread typist(type_unbuffered, keyboard, "k");
        platform::wait_for_key();
        typist.join();
        std::cerr << (hands_over_lines(keyboard) ? "restored" : "changed");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("restored"));
}

TEST_F(WaitForKey, TakesAKeyOfTheTerminalAndLeavesStandardInputAlone) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        use_as_standard_input("xy");  // a session leader keeps its terminal
        std::thread typist(type_unbuffered, keyboard, "k");
        platform::wait_for_key();
        typist.join();
        char next = '-';
        static_cast<void>(read(STDIN_FILENO, &next, 1));
        std::cerr << "went on before " << next << (hands_over_lines(keyboard) ? ", restored" : "");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("went on before x, restored"));
}

TEST_F(WaitForKey, TakesAByteOfStandardInputWhenTheTerminalHangsUp) {
  EXPECT_EXIT(
      {
        std::signal(SIGHUP, SIG_IGN);
        const int keyboard = take_pseudo_terminal();
        use_as_standard_input("xy");  // a session leader keeps its terminal
        std::thread([keyboard] {
          wait_until_unbuffered(keyboard);
          wait_a_moment();
          close(keyboard);
        }).detach();
        platform::wait_for_key();
        char next = '-';
        static_cast<void>(read(STDIN_FILENO, &next, 1));
        std::cerr << "went on before " << next;
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("went on before y"));
}

TEST_F(WaitForKey, LeavesATerminalThatAnotherThreadChangedAsItIs) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        std::thread other(platform::wait_for_key);
        wait_until_unbuffered(keyboard);
        std::atomic<bool> taken = false;
        std::thread typist([keyboard, &taken] {
          while (!taken) {  // unread keys are lost when the settings are restored
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            static_cast<void>(write(keyboard, "k\n", 2));
          }
        });
        platform::wait_for_key();
        other.join();
        taken = true;
        typist.join();
        std::cerr << (hands_over_lines(keyboard) ? "restored" : "changed");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("restored"));
}

// On another thread; the main thread then rests in a signal handler.

class WaitForKeyElsewhere : public WaitForKey {
 protected:
  void SetUp() override {
    if (kUnderThreadSanitizer) {
      GTEST_SKIP() << "the thread sanitizer holds signals back while a thread waits";
    }
  }
};

/// The number of open files of the process whose names begin with `what`, and how many of them a
/// child process would inherit.
std::string open_files(const std::string& what) {
  int files = 0;
  int inherited = 0;
  for (int descriptor = 0; descriptor < 100; ++descriptor) {
    std::error_code ignored;
    const auto shown =
        fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), ignored).string();
    if (shown.starts_with(what)) {
      ++files;
      inherited += (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0 ? 1 : 0;
    }
  }
  return std::to_string(files) + " of " + what + ", " + std::to_string(inherited) + " inherited";
}

TEST_F(WaitForKeyElsewhere, LeavesNoFileOpen) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        platform::install_console_handler([](unsigned long /*event*/) { return 1; },
                                          tell_end_and_leave);
        const std::string pipes = open_files("pipe:");
        std::atomic<bool> is_over = false;
        std::thread([keyboard, &is_over] {
          std::thread typist([keyboard] {
            wait_until_unbuffered(keyboard);
            std::cerr << open_files("/dev/tty") << ", then ";
            static_cast<void>(write(keyboard, "k", 1));
          });
          platform::wait_for_key();
          typist.join();
          is_over = true;
        }).detach();
        while (!is_over) {
          std::this_thread::yield();
        }
        wait_a_moment();  // the main thread closes its files once it is released
        std::cerr << open_files("/dev/tty") << (open_files("pipe:") == pipes ? "" : ", pipes left");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0),
      Eq("1 of /dev/tty, 0 inherited, then 0 of /dev/tty, 0 inherited"));
}

TEST_F(WaitForKeyElsewhere, LeavesOtherFilesAloneWhenItsSignalComesAgain) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        platform::install_console_handler([](unsigned long /*event*/) { return 1; },
                                          tell_end_and_leave);
        std::atomic<bool> is_over = false;
        std::thread([keyboard, &is_over] {
          std::thread typist(type_unbuffered, keyboard, "k");
          platform::wait_for_key();
          typist.join();
          is_over = true;
        }).detach();
        while (!is_over) {
          std::this_thread::yield();
        }
        wait_a_moment();
        int ends[2];
        static_cast<void>(pipe(ends));  // reuses the descriptors of the wait
        raise(SIGUSR1);
        static_cast<void>(write(ends[1], "x", 1));
        char byte = '-';
        static_cast<void>(read(ends[0], &byte, 1));
        std::cerr << "read " << byte << (fcntl(STDOUT_FILENO, F_GETFD) < 0 ? ", output lost" : "");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("read x"));
}

TEST_F(WaitForKeyElsewhere, KeepsAPromptOfTheMainThreadFromTakingTheKey) {
  EXPECT_EXIT(
      {
        const int keyboard = take_pseudo_terminal();
        platform::install_console_handler([](unsigned long /*event*/) { return 1; },
                                          tell_end_and_leave);
        std::thread([keyboard] {
          std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the main thread reads now
          std::thread(type_unbuffered, keyboard, "k").detach();
          platform::wait_for_key();
          static_cast<void>(write(keyboard, "line\n", 5));
        }).detach();
        std::string line;
        std::getline(std::cin, line);
        std::cerr << "prompt read " << line;
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("prompt read line"));
}

TEST_F(WaitForKeyElsewhere, KeepsTheMainThreadAtRestThroughSignals) {
  EXPECT_EXIT(
      {
        let_a_signal_interrupt();
        const int keyboard = take_pseudo_terminal();
        platform::install_console_handler([](unsigned long /*event*/) { return 1; },
                                          tell_end_and_leave);
        std::atomic<int> passes = 0;
        std::atomic<bool> is_over = false;
        std::thread([&, keyboard] {
          std::thread typist([&, keyboard] {
            wait_until_unbuffered(keyboard);
            const int seen = passes;
            interrupt(main_thread);
            wait_a_moment();
            std::cerr << (passes == seen ? "at rest" : "at work");
            static_cast<void>(write(keyboard, "k", 1));
          });
          platform::wait_for_key();
          typist.join();
          is_over = true;
        }).detach();
        errno = ENOTTY;
        while (!is_over) {
          ++passes;
        }
        std::cerr << (errno == ENOTTY ? ", error number kept" : ", error number lost");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), Eq("at rest, error number kept"));
}

/// Waits for a key while the main thread takes no signals, for a while or for ever. Reports whether
/// the wait begins with one for the main thread, and that it ends.
[[noreturn]] void wait_for_a_busy_main_thread(bool is_ever_free) {
  let_a_signal_interrupt();
  const int keyboard = take_pseudo_terminal();
  platform::install_console_handler([](unsigned long /*event*/) { return 1; }, tell_end_and_leave);
  sigset_t resting;
  sigemptyset(&resting);
  sigaddset(&resting, SIGUSR1);
  std::atomic<bool> is_over = false;
  pthread_sigmask(SIG_BLOCK, &resting, nullptr);
  std::thread waiting([&is_over] {
    platform::wait_for_key();
    is_over = true;
  });
  wait_a_moment();
  interrupt(waiting.native_handle());
  wait_a_moment();
  std::cerr << (hands_over_lines(keyboard) ? "waits" : "does not wait");
  std::thread typist(type_unbuffered, keyboard, "k");
  if (is_ever_free) {
    pthread_sigmask(SIG_UNBLOCK, &resting, nullptr);
  }
  while (!is_over) {
    std::this_thread::yield();
  }
  typist.join();
  std::cerr << ", goes on";
  std::_Exit(0);
}

TEST_F(WaitForKeyElsewhere, WaitsUntilTheMainThreadRestsButNotForEver) {
  EXPECT_EXIT(wait_for_a_busy_main_thread(true), testing::ExitedWithCode(0), Eq("waits, goes on"));
  EXPECT_EXIT(wait_for_a_busy_main_thread(false), testing::ExitedWithCode(0), Eq("waits, goes on"));
}

}  // namespace

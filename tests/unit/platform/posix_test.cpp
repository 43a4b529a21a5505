#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

#include "platform/platform.h"
#include "support/process.h"
#include "support/refused_threads_posix.h"
#include "support/temporary_folder.h"
#include "support/thread_sanitizer.h"

namespace fs = std::filesystem;

namespace {

using testing::Eq;

/// A home folder of its own, with the variables that the documents folder depends on.
class DocumentsFolder : public testing::Test {
 protected:
  DocumentsFolder() {
    set_environment("HOME", home());
    set_environment("XDG_CONFIG_HOME", "");
  }
  ~DocumentsFolder() override {
    set_environment("HOME", saved_home_);
    set_environment("XDG_CONFIG_HOME", saved_config_);
  }

  std::string home() const { return home_.path().string(); }
  void write_user_dirs(const std::string& text) const {
    fs::create_directory(home_.path() / ".config");
    home_.write(".config/user-dirs.dirs", text);
  }
  /// The folder that a user-dirs.dirs with this text names.
  std::optional<std::string> told_by(const std::string& text) const {
    write_user_dirs(text);
    return platform::documents_folder();
  }

  TemporaryFolder home_;

 private:
  static std::string saved(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
  }
  std::string saved_home_ = saved("HOME");
  std::string saved_config_ = saved("XDG_CONFIG_HOME");
};

TEST_F(DocumentsFolder, IsDocumentsInTheHomeFolderWithoutAFile) {
  EXPECT_EQ(platform::documents_folder(), home() + "/Documents");
}

TEST_F(DocumentsFolder, IsMadeWhenMissing) {
  ASSERT_FALSE(fs::exists(home() + "/Documents"));
  platform::documents_folder();
  EXPECT_TRUE(fs::is_directory(home() + "/Documents"));
}

TEST_F(DocumentsFolder, IsMadeWithItsParents) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a/b/c\"\n"), home() + "/a/b/c");
  EXPECT_TRUE(fs::is_directory(home() + "/a/b/c"));
}

TEST_F(DocumentsFolder, StaysAsItIsWhenThere) {
  fs::create_directory(home() + "/Documents");
  home_.write("Documents/file", "kept");
  EXPECT_EQ(platform::documents_folder(), home() + "/Documents");
  EXPECT_EQ(home_.read("Documents/file"), "kept");
}

TEST_F(DocumentsFolder, IsReturnedEvenWhenItCannotBeMade) {
  home_.write("file", "");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/file/Documents\"\n"), home() + "/file/Documents");
  EXPECT_FALSE(fs::exists(home() + "/file/Documents"));
}

TEST_F(DocumentsFolder, BelowHomeIsTakenFromTheFile) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n"), home() + "/Dokumente");
}

TEST_F(DocumentsFolder, MayBeTheHomeFolderItself) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/\"\n"), home());
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME\"\n"), home());
}

TEST_F(DocumentsFolder, MayLieAnywhere) {
  const TemporaryFolder elsewhere;
  const std::string folder = (elsewhere.path() / "My Documents").string();
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"" + folder + "\"\n"), folder);
  EXPECT_TRUE(fs::is_directory(folder));
}

TEST_F(DocumentsFolder, StandsAmongOtherLines) {
  EXPECT_EQ(told_by("# This file is written by a tool.\n"
                    "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"
                    "#XDG_DOCUMENTS_DIR=\"$HOME/Commented\"\n"
                    "  XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n"
                    "XDG_MUSIC_DIR=\"$HOME/Music\"\n"),
            home() + "/Papers");
}

TEST_F(DocumentsFolder, IsTheLastOneInTheFile) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/First\"\nXDG_DOCUMENTS_DIR=\"$HOME/Last\""),
            home() + "/Last");
}

TEST_F(DocumentsFolder, TakesEscapedCharactersAsTheyAre) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a\\\"b\\\\c\\$d\\`e\"\n"), home() + "/a\"b\\c$d`e");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"\\" + home() + "\"\n"), home());  // the first character
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a\\b"), home() + "/ab");    // the last one
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a\\"), home() + "/a\\");    // of nothing
}

TEST_F(DocumentsFolder, EndsAtTheQuoteAndWithoutASeparator) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/Papers//\" # mine\n"), home() + "/Papers");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"/\"\n"), "/");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"//\"\n"), "/");
}

TEST_F(DocumentsFolder, OfAMalformedLineIsIgnored) {
  const std::string ordinary = home() + "/Documents";
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"\"\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"relative\"\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=$HOME/Unquoted\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR_OLD=\"$HOME/Old\"\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOMEWARD/Papers\"\n"), ordinary);
  EXPECT_FALSE(fs::exists(home() + "WARD"));
}

TEST_F(DocumentsFolder, FollowsTheConfigurationFolder) {
  const TemporaryFolder config;
  config.write("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/ByConfig\"\n");
  write_user_dirs("XDG_DOCUMENTS_DIR=\"$HOME/ByHome\"\n");
  set_environment("XDG_CONFIG_HOME", config.path().string());
  EXPECT_EQ(platform::documents_folder(), home() + "/ByConfig");
}

TEST_F(DocumentsFolder, IsUnknownWithoutAHome) {
  set_environment("HOME", "");
  EXPECT_EQ(platform::documents_folder(), std::nullopt);
}

TEST_F(DocumentsFolder, WithoutAHomeMayStillBeNamed) {
  const TemporaryFolder config;
  const std::string folder = (config.path() / "Papers").string();
  config.write("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + folder + "\"\n");
  set_environment("HOME", "");
  set_environment("XDG_CONFIG_HOME", config.path().string());
  EXPECT_EQ(platform::documents_folder(), folder);
}

TEST_F(DocumentsFolder, WithoutAHomeIsNotBelowIt) {
  const TemporaryFolder config;
  config.write("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/kvr-test-papers\"\n");
  set_environment("HOME", "");
  set_environment("XDG_CONFIG_HOME", config.path().string());
  EXPECT_EQ(platform::documents_folder(), std::nullopt);
  EXPECT_FALSE(fs::exists("/kvr-test-papers"));
}

TEST(PathSeparator, IsASlash) { EXPECT_EQ(platform::kPathSeparator, '/'); }

TEST(CommandStatus, IsTheResultItselfWithoutAnExitStatus) {
  EXPECT_EQ(platform::command_status(-1), -1);
  const int killed = std::system("kill -KILL $$");
  EXPECT_EQ(platform::command_status(killed), killed);
  EXPECT_NE(killed, 0);
}

TEST(CreateDirectory, LeavesPermissionsToTheUmask) {
  const TemporaryFolder folder;
  const mode_t saved = umask(027);
  EXPECT_TRUE(platform::create_directory(folder.prefix() + "one"));
  umask(saved);
  EXPECT_EQ(fs::status(folder.path() / "one").permissions(), fs::perms(0750));
}

// Signals, each in a process of its own, which reports on standard error.

class ConsoleEvents : public testing::Test {
 protected:
  ConsoleEvents() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

const pthread_t main_thread = pthread_self();

void wait_a_moment() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

int tell_event_and_leave(unsigned long event) {
  const bool on_main_thread = pthread_equal(pthread_self(), main_thread) != 0;
  std::cerr << "event " << event << (on_main_thread ? " on the main thread" : "");
  std::_Exit(0);
}

void tell_end_and_leave(unsigned long event) {
  std::cerr << "end after event " << event;
  std::_Exit(0);
}

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

void count_signal(int /*signal*/) { ++events_seen; }

/// Counts SIGUSR2, which interrupts blocking system calls.
void let_a_signal_interrupt() {
  struct sigaction action {};
  action.sa_handler = count_signal;
  sigaction(SIGUSR2, &action, nullptr);
}

/// Interrupts a thread and returns once that has happened.
void interrupt(pthread_t thread) {
  const int before = events_seen;
  pthread_kill(thread, SIGUSR2);
  while (events_seen == before) {
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

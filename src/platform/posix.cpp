#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/platform.h"

namespace platform {

const char kPathSeparator = '/';

namespace {

std::string environment_text(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string user_dirs_file(const std::string& home) {
  const std::string config = environment_text("XDG_CONFIG_HOME");
  return (config.empty() ? home + "/.config" : config) + "/user-dirs.dirs";
}

/// The value of a line such as XDG_DOCUMENTS_DIR="$HOME/Documents". Only absolute folders and those
/// below $HOME are legal there.
std::optional<std::string> user_dir_value(std::string_view line, std::string_view key,
                                          const std::string& home) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  const std::string opening = std::string(key) + "=\"";
  if (!line.starts_with(opening)) {
    return std::nullopt;
  }
  line.remove_prefix(opening.size());
  std::string folder;
  constexpr std::string_view kHomeMark = "$HOME";
  if (line.starts_with(kHomeMark)) {
    folder = home;
    line.remove_prefix(kHomeMark.size());
    if (home.empty() || (!line.starts_with('/') && !line.starts_with('"'))) {
      return std::nullopt;  // below nothing, or another variable
    }
  }
  for (std::size_t i = 0; i < line.size() && line[i] != '"'; ++i) {
    if (line[i] == '\\' && i + 1 < line.size()) {
      ++i;
    }
    folder += line[i];
  }
  while (folder.size() > 1 && folder.back() == '/') {
    folder.pop_back();
  }
  return folder.starts_with('/') ? std::optional(folder) : std::nullopt;
}

std::optional<std::string> find_documents_folder() {
  const std::string home = environment_text("HOME");
  std::optional<std::string> folder;
  if (!home.empty()) {
    folder = home + "/Documents";
  }
  std::ifstream user_dirs(user_dirs_file(home));
  for (std::string line; std::getline(user_dirs, line);) {
    if (auto value = user_dir_value(line, "XDG_DOCUMENTS_DIR", home)) {
      folder = std::move(value);
    }
  }
  return folder;
}

}  // namespace

std::optional<std::string> documents_folder() {
  std::optional<std::string> folder = find_documents_folder();
  if (folder) {
    std::error_code ignored;  // a folder that can't be made shows when one is made inside it
    std::filesystem::create_directories(*folder, ignored);
  }
  return folder;
}

bool create_directory(const std::string& path) { return mkdir(path.c_str(), 0777) == 0; }

std::optional<std::int64_t> file_size(const std::string& path) {
  struct stat entry {};
  return stat(path.c_str(), &entry) == 0 ? std::optional<std::int64_t>(entry.st_size)
                                         : std::nullopt;
}

std::string environment_text(const char* name, std::size_t buffer_size) {
  const std::string value = environment_text(name);
  return value.size() < buffer_size ? value : std::string();
}

void set_environment(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

std::string client_library_file() {
  Dl_info info{};
  void* const call = dlsym(RTLD_DEFAULT, "kvr_Lib_Initialize");
  return call != nullptr && dladdr(call, &info) != 0 ? info.dli_fname : std::string();
}

std::string program_file() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

void start_again(const std::vector<std::string>& arguments, const std::string& folder) {
  const std::string others = environment_text("LD_LIBRARY_PATH");
  set_environment("LD_LIBRARY_PATH", others.empty() ? folder : folder + ":" + others);
  const std::string program = program_file();
  std::vector<char*> words = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) {
    words.push_back(const_cast<char*>(argument.c_str()));
  }
  words.push_back(nullptr);
  execv(program.c_str(), words.data());
}

// What is no exit status, such as the -1 of a shell that could not be started, is passed on.
int command_status(int system_result) {
  return WIFEXITED(system_result) ? WEXITSTATUS(system_result) : system_result;
}

namespace {

struct ConsoleSignal {
  int signal;
  unsigned long event;
  bool ends_the_process;  ///< as Windows does after such an event
};

constexpr ConsoleSignal kConsoleSignals[] = {
    {SIGINT, 0, false}, {SIGQUIT, 1, false}, {SIGHUP, 2, true}, {SIGTERM, 6, true}};

bool is_ignored(int signal) {
  struct sigaction action {};
  sigaction(signal, nullptr, &action);
  return action.sa_handler == SIG_IGN;
}

sigset_t console_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const ConsoleSignal& console_signal : kConsoleSignals) {
    if (console_signal.signal == SIGHUP && is_ignored(SIGHUP)) {
      continue;  // nohup asked for it
    }
    sigaddset(&signals, console_signal.signal);
  }
  return signals;
}

/// Longer than an orderly end takes. What can block such an end is output to a stopped terminal, or
/// the client library.
constexpr std::chrono::milliseconds kLongestEnd{5700};

void end_at_last(int status) {
  std::this_thread::sleep_for(kLongestEnd);
  std::_Exit(status);
}

void deliver_console_signals(const sigset_t& signals, ConsoleHandler handler, EndHandler end) {
  bool hung_up = false;
  for (int signal{}; sigwait(&signals, &signal) == 0;) {
    if (signal == SIGHUP && std::exchange(hung_up, true)) {
      continue;
    }
    for (const ConsoleSignal& console_signal : kConsoleSignals) {
      if (console_signal.signal != signal) {
        continue;
      }
      if (console_signal.ends_the_process) {
        std::thread(end_at_last, static_cast<int>(console_signal.event)).detach();
        std::thread(end, console_signal.event).detach();
      } else {
        std::thread(handler, console_signal.event).detach();
      }
    }
  }
}

/// A terminal that has been closed is still one.
bool is_terminal(int descriptor) { return isatty(descriptor) != 0 || errno == EIO; }

bool watches_input = false;

/// A terminal that is not the controlling one sends no signal when it closes.
void watch_terminals(bool input, bool output) {
  pollfd terminals[] = {{input ? STDIN_FILENO : -1, 0, 0}, {output ? STDOUT_FILENO : -1, 0, 0}};
  while (poll(terminals, std::size(terminals), -1) < 0 && errno == EINTR) {
  }
  kill(getpid(), SIGHUP);
}

void start_watching_terminals() {
  watches_input = is_terminal(STDIN_FILENO);
  const bool watches_output = is_terminal(STDOUT_FILENO);
  if (watches_input || watches_output) {
    std::thread(watch_terminals, watches_input, watches_output).detach();
  }
}

// The main thread rests inside a signal handler: its blocked read has then given up the terminal,
// and is taken up again afterwards.

std::optional<pthread_t> main_thread;
// The reading end of a pipe: the main thread rests until the writing end is closed. Each rest takes
// the descriptor once; a stray signal finds none and cannot close a reused descriptor.
constexpr int kNoDescriptor = -1;
std::atomic<int> rest_descriptor = kNoDescriptor;
sem_t at_rest;

void rest(int /*signal*/) {
  const int saved_errno = errno;
  const int descriptor = rest_descriptor.exchange(kNoDescriptor);
  sem_post(&at_rest);
  for (char byte{}; read(descriptor, &byte, sizeof byte) < 0 && errno == EINTR;) {
  }
  close(descriptor);
  errno = saved_errno;
}

class MainThreadRest {
 public:
  MainThreadRest() {
    if (!main_thread || pthread_equal(*main_thread, pthread_self()) != 0 ||
        pipe2(pipe_, O_CLOEXEC) != 0) {
      return;
    }
    has_pipe_ = true;
    rest_descriptor = pipe_[0];
    sem_init(&at_rest, 0, 0);
    struct sigaction action {};
    action.sa_handler = rest;
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
    pthread_kill(*main_thread, SIGUSR1);
    wait_until_at_rest();
  }
  ~MainThreadRest() {
    if (has_pipe_) {
      close(pipe_[1]);
    }
  }
  MainThreadRest(const MainThreadRest&) = delete;
  MainThreadRest& operator=(const MainThreadRest&) = delete;

 private:
  /// With a time limit: a main thread that can't take signals must not keep the program from
  /// ending.
  static void wait_until_at_rest() {
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += 1;
    while (sem_timedwait(&at_rest, &deadline) != 0 && errno == EINTR) {
    }
  }

  int pipe_[2]{};
  bool has_pipe_ = false;
};

// The settings of a terminal that has been changed. They are restored at the end of the process
// too: a stop signal may end it while another thread waits for a key.
std::atomic<bool> terminal_is_changed = false;
int changed_terminal{};
termios settings_before{};

/// Keys typed after the one that was waited for are discarded; a prompt would take them for
/// answers.
void put_terminal_back() {
  if (terminal_is_changed.exchange(false)) {
    tcsetattr(changed_terminal, TCSAFLUSH, &settings_before);
  }
}

/// A terminal that delivers each key at once, without echo, until it is restored.
class UnbufferedTerminal {
 public:
  explicit UnbufferedTerminal(int descriptor) {
    if (terminal_is_changed || tcgetattr(descriptor, &settings_before) != 0) {
      return;  // changed already, or no terminal
    }
    [[maybe_unused]] static const int kRegistered = std::atexit(put_terminal_back);
    termios unbuffered = settings_before;
    unbuffered.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    unbuffered.c_cc[VMIN] = 1;
    changed_terminal = descriptor;
    terminal_is_changed = tcsetattr(descriptor, TCSANOW, &unbuffered) == 0;
  }
  ~UnbufferedTerminal() { put_terminal_back(); }
  UnbufferedTerminal(const UnbufferedTerminal&) = delete;
  UnbufferedTerminal& operator=(const UnbufferedTerminal&) = delete;
};

/// Takes one byte; false on an error, true at the end of input too.
bool take_byte(int descriptor) {
  char byte{};
  while (read(descriptor, &byte, sizeof byte) < 0) {
    if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool take_key(int terminal) {
  const UnbufferedTerminal unbuffered(terminal);
  return take_byte(terminal);
}

bool take_terminal_key() {
  const int terminal = open("/dev/tty", O_RDONLY | O_CLOEXEC);
  if (terminal < 0) {
    return false;
  }
  const bool taken = take_key(terminal);
  close(terminal);
  return taken;
}

}  // namespace

bool install_console_handler(ConsoleHandler handler, EndHandler end) {
  main_thread = pthread_self();
  // Some C libraries take the lock of each stream when the process ends. The main thread would hold
  // that of standard input for as long as it waits for an answer.
  __fsetlocking(stdin, FSETLOCKING_BYCALLER);
  const sigset_t signals = console_signals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try {
    std::thread(deliver_console_signals, signals, handler, end).detach();
    if (sigismember(&signals, SIGHUP) != 0) {
      start_watching_terminals();
    }
    return true;
  } catch (const std::system_error&) {
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);  // what nobody takes goes its usual way
    return false;
  }
}

bool input_terminal_is_closed() {
  pollfd input{STDIN_FILENO, 0, 0};
  return watches_input && poll(&input, 1, 0) > 0 && (input.revents & POLLHUP) != 0;
}

void end_process(int status) {
  static std::atomic_flag ending;
  while (ending.test_and_set()) {
    pause();
  }
  std::exit(status);
}

void run_detached(void (*work)()) { std::thread(work).detach(); }

void wait_for_key() {
  const MainThreadRest main_thread_rests;
  if (!take_terminal_key()) {
    take_byte(STDIN_FILENO);
  }
}

}  // namespace platform

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "tape/platform/process.h"

namespace tape::platform {

const char* const kLibraryPath = "LD_LIBRARY_PATH";
const char kLibraryPathSeparator = ':';
const char* const kClientLibraryName = "libkvr-client-api.so";

namespace {

constexpr int kNotStarted = 127;
constexpr int kOfSignal = 128;
constexpr char kEndOfInput = 4;  // as a terminal has it

[[noreturn]] void become(const Program& program) {
  for (const auto& [name, value] : program.environment) {
    ::setenv(name.c_str(), value.c_str(), 1);
  }
  std::vector<char*> arguments;
  arguments.reserve(program.arguments.size() + 1);
  for (const std::string& argument : program.arguments) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  ::execvp(arguments[0], arguments.data());
  ::perror(arguments[0]);
  ::_exit(kNotStarted);
}

int wait_for(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : kOfSignal + WTERMSIG(status);
}

void write_all(int file, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(file, bytes, size);
    if (written < 0 && errno != EINTR) {
      return;
    }
    const auto done = static_cast<std::size_t>(written < 0 ? 0 : written);
    bytes += done;
    size -= done;
  }
}

/// A child that reads from a pipe; returns its process and our end of it.
std::pair<pid_t, int> start_with_pipe(const Program& program) {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    return {-1, -1};
  }
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(ends[0], STDIN_FILENO);
    become(program);
  }
  ::close(ends[0]);
  return {child, ends[1]};
}

/// Sets our terminal so that each key reaches us at once; puts it back at the end.
class RawTerminal {
 public:
  RawTerminal() {
    ::tcgetattr(STDIN_FILENO, &before_);
    termios raw = before_;
    ::cfmakeraw(&raw);
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
  }
  ~RawTerminal() { ::tcsetattr(STDIN_FILENO, TCSADRAIN, &before_); }
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;

 private:
  termios before_{};
};

/// Carries input to the child and its output to us until it has ended.
void relay(int terminal, std::string& typed) {
  std::array<pollfd, 2> files{{{STDIN_FILENO, POLLIN, 0}, {terminal, POLLIN, 0}}};
  std::array<char, 4096> buffer{};
  for (;;) {
    if (::poll(files.data(), files.size(), -1) < 0 && errno != EINTR) {
      return;
    }
    if (files[1].revents != 0) {
      const ssize_t size = ::read(terminal, buffer.data(), buffer.size());
      if (size <= 0) {
        return;
      }
      write_all(STDOUT_FILENO, buffer.data(), static_cast<std::size_t>(size));
    }
    if (files[0].revents != 0) {
      const ssize_t size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
      if (size <= 0) {
        write_all(terminal, &kEndOfInput, 1);
        files[0].fd = -1;
        continue;
      }
      typed.append(buffer.data(), static_cast<std::size_t>(size));
      write_all(terminal, buffer.data(), static_cast<std::size_t>(size));
    }
  }
}

int run_in_terminal(const Program& program, std::string& typed) {
  winsize size{};
  ::ioctl(STDIN_FILENO, TIOCGWINSZ, &size);
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    become(program);
  }
  if (child < 0) {
    return kNotStarted;
  }
  const RawTerminal raw;
  relay(terminal, typed);
  ::close(terminal);
  return wait_for(child);
}

}  // namespace

int run_program(const Program& program) {
  ::signal(SIGPIPE, SIG_IGN);
  if (program.input) {
    const auto [child, input] = start_with_pipe(program);
    if (child < 0) {
      return kNotStarted;
    }
    write_all(input, program.input->data(), program.input->size());
    ::close(input);
    return wait_for(child);
  }
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGPIPE, SIG_DFL);
    become(program);
  }
  return child < 0 ? kNotStarted : wait_for(child);
}

int run_and_keep_input(const Program& program, std::string& typed) {
  ::signal(SIGPIPE, SIG_IGN);
  if (::isatty(STDIN_FILENO) == 1) {
    return run_in_terminal(program, typed);
  }
  const auto [child, input] = start_with_pipe(program);
  if (child < 0) {
    return kNotStarted;
  }
  std::array<char, 4096> buffer{};
  ssize_t size = 0;
  while ((size = ::read(STDIN_FILENO, buffer.data(), buffer.size())) > 0) {
    typed.append(buffer.data(), static_cast<std::size_t>(size));
    write_all(input, buffer.data(), static_cast<std::size_t>(size));
  }
  ::close(input);
  return wait_for(child);
}

std::filesystem::path own_program() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error);
}

}  // namespace tape::platform

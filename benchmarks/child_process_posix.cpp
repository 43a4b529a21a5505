#include "child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <fstream>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

struct Pipe {
  Pipe() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
  }
  ~Pipe() {
    close_end(0);
    close_end(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  void close_end(std::size_t end) {
    if (ends[end] >= 0) {
      close(ends[end]);
      ends[end] = -1;
    }
  }

  std::array<int, 2> ends{};  // to read from, to write to
};

pid_t start(const std::vector<std::string>& arguments, const Pipe& input, const Pipe& output) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.ends[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
  pid_t process = 0;
  const int error = posix_spawnp(&process, argv.front(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    throw std::runtime_error("can't start " + arguments.front());
  }
  return process;
}

void type(const Pipe& input, const std::string& answers) {
  if (write(input.ends[1], answers.data(), answers.size()) < 0) {
    throw std::runtime_error("can't write to a process");
  }
}

/// Not the figure of wait4, which begins with the memory of the parent process.
long peak_kib_of(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  const std::string title = "VmHWM:";
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(title)) {
      return std::stol(line.substr(title.size()));
    }
  }
  return 0;
}

}  // namespace

ProcessCost run_process(const std::vector<std::string>& arguments, const Dialogue& dialogue) {
  ProcessCost cost;
  Pipe input;
  Pipe output;
  const Clock::time_point begin = Clock::now();
  const pid_t process = start(arguments, input, output);
  input.close_end(0);
  output.close_end(1);
  type(input, dialogue.at_once);
  if (dialogue.text.empty()) {
    input.close_end(1);
  }
  std::string written;
  std::array<char, 65536> part;
  ssize_t length = 0;
  while ((length = read(output.ends[0], part.data(), part.size())) > 0) {
    if (cost.seconds_to_text != 0 || dialogue.text.empty()) {
      continue;
    }
    written.append(part.data(), static_cast<std::size_t>(length));
    if (written.find(dialogue.text) != std::string::npos) {
      cost.seconds_to_text = seconds_since(begin);
      cost.peak_kib = peak_kib_of(process);
      type(input, dialogue.after_text);
      input.close_end(1);
    }
  }

  int status = 0;
  rusage usage{};
  wait4(process, &status, 0, &usage);
  cost.seconds = seconds_since(begin);
  cost.processor_seconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error(arguments.front() + " failed");
  }
  return cost;
}

double seconds_in_child(void (*before)(), void (*timed)()) {
  Pipe result;
  const pid_t child = fork();
  if (child == 0) {
    before();
    const Clock::time_point begin = Clock::now();
    timed();
    const double seconds = seconds_since(begin);
    _exit(write(result.ends[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  double seconds = 0;
  const bool was_told = child > 0 && read(result.ends[0], &seconds, sizeof seconds) > 0;
  int status = 0;
  waitpid(child, &status, 0);
  if (!was_told) {
    throw std::runtime_error("a child process failed");
  }
  return seconds;
}

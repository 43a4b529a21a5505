#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "report/platform/platform.h"

namespace report::platform {

std::optional<std::filesystem::path> find_browser() {
  if (const char* const named = std::getenv("KVR_REPORT_BROWSER")) {
    return named;
  }
  const char* const path = std::getenv("PATH");
  for (const std::string_view name :
       {"chromium", "chromium-browser", "google-chrome", "microsoft-edge"}) {
    std::string_view rest = path == nullptr ? "" : path;
    while (!rest.empty()) {
      const std::string_view folder = rest.substr(0, rest.find(':'));
      const auto program = std::filesystem::path(folder) / name;
      if (access(program.c_str(), X_OK) == 0) {
        return program;
      }
      rest.remove_prefix(std::min(rest.size(), folder.size() + 1));
    }
  }
  return std::nullopt;
}

int run(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
  std::vector<std::string> words{program.string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) {
    pointers.push_back(word.data());
  }
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", 1, 0);
  posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", 1, 0);
  pid_t child = 0;
  const int failed =
      posix_spawn(&child, program.c_str(), &quiet, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&quiet);
  int status = 0;
  if (failed != 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
    return -1;
  }
  return WEXITSTATUS(status);
}

void use_binary_output() {}

}  // namespace report::platform

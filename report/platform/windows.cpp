#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <stdio.h>

#include <cstdlib>
#include <string_view>

#include "report/platform/platform.h"

namespace report::platform {

std::optional<std::filesystem::path> find_browser() {
  if (const char* const named = std::getenv("KVR_REPORT_BROWSER")) {
    return named;
  }
  for (const char* const variable : {"ProgramFiles", "ProgramFiles(x86)", "LOCALAPPDATA"}) {
    const char* const folder = std::getenv(variable);
    for (const std::string_view name :
         {"Microsoft/Edge/Application/msedge.exe", "Google/Chrome/Application/chrome.exe",
          "Chromium/Application/chrome.exe"}) {
      const auto program = std::filesystem::path(folder == nullptr ? "" : folder) / name;
      std::error_code none;
      if (folder != nullptr && std::filesystem::exists(program, none)) {
        return program;
      }
    }
  }
  return std::nullopt;
}

int run(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
  // The C library joins the words with spaces, so each one needs its quotes; none of ours holds
  // one.
  std::vector<std::string> words{'"' + program.string() + '"'};
  for (const std::string& argument : arguments) {
    words.push_back('"' + argument + '"');
  }
  std::vector<const char*> pointers;
  for (const std::string& word : words) {
    pointers.push_back(word.c_str());
  }
  pointers.push_back(nullptr);
  return static_cast<int>(_spawnv(_P_WAIT, program.string().c_str(), pointers.data()));
}

void use_binary_output() { _setmode(_fileno(stdout), _O_BINARY); }

}  // namespace report::platform

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "support/scripted_client_api_script.h"

// The scripted client library as a shared library of the real one's name. It takes its answers from
// the script that KVR_SCRIPT_FILE names and appends each call to the file that KVR_CALL_LOG names,
// both optional. At the end of the process the log gets a line "! ..." for each complaint. A bad
// script ends the process at once, with file and line on standard error and this status:

namespace {

constexpr int kBadScript = 99;

const char* variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

bool has_aborted = false;  // then nothing has been freed

class LoadedLibrary {
 public:
  LoadedLibrary() {
    // Windows unloads libraries in order even then.
    std::signal(SIGABRT, [](int) { has_aborted = true; });
    if (const char* script = variable("KVR_SCRIPT_FILE")) {
      load(script);
    }
    if (const char* log = variable("KVR_CALL_LOG")) {
      log_ = new std::ofstream(log, std::ios::app | std::ios::binary);
      scripted_api().on_call = [log = log_](const SeenCall& seen) {
        *log << seen.text() << std::flush;
      };
    }
  }

  ~LoadedLibrary() {
    if (log_ != nullptr && !has_aborted) {
      for (const std::string& complaint : scripted_api().complaints()) {
        *log_ << "! " << complaint << '\n' << std::flush;
      }
    }
  }

  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

 private:
  static void load(const char* path) {
    std::ifstream script(path);
    try {
      if (!script) {
        throw ScriptError(std::string(path) + ": can't be opened");
      }
      load_script(script, path, scripted_api());
    } catch (const std::exception& error) {
      std::cerr << error.what() << std::endl;
      std::_Exit(kBadScript);
    }
  }

  std::ofstream* log_ = nullptr;  // kept: another thread may still be in a call at the very end
};

const LoadedLibrary loaded_library;

}  // namespace

#include "shell/tape_recording.h"

#include <filesystem>

#include "platform/platform.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestPath = 4096;
constexpr const char* kTapeVariable = "KVR_TAPE_FILE";

/// The recorder's file for a client library of that file name; empty when it is not installed.
fs::path recorder_of_name(const fs::path& name) {
  const fs::path here = fs::path(platform::program_file()).parent_path();
  for (const char* folder : {"../lib/kvr-console-tester/recorder", "../recorder"}) {
    std::error_code error;
    const fs::path file = fs::canonical(here / folder / name, error);
    if (!error) {
      return file;
    }
  }
  return {};
}

/// Whether `library` is the recorder: the one of our installation, or one that kvr-tape install has
/// put into the place of the library, which then lies beside it under another name.
bool is_recorder(const fs::path& library, const fs::path& recorder) {
  std::error_code error;
  const fs::path real = library.stem().string() + "-real" + library.extension().string();
  return fs::equivalent(library, recorder, error) ||
         fs::exists(library.parent_path() / real, error);
}

}  // namespace

std::optional<std::string> record_on_tape(const std::string& tape,
                                          const std::vector<std::string>& arguments) {
  std::error_code error;
  const std::string file = fs::absolute(tape, error).string();
  if (fs::exists(file, error)) {
    return tape + " exists, and a tape is never overwritten";
  }
  const std::string found = platform::client_library_file();
  const fs::path library = fs::absolute(found, error);
  const fs::path recorder = recorder_of_name(library.filename());
  if (is_recorder(library, recorder)) {
    const std::string named = platform::environment_text(kTapeVariable, kLongestPath);
    if (!named.empty() && named != file) {
      return "this run is recorded already, on " + named;
    }
    platform::set_environment(kTapeVariable, file);
    return std::nullopt;
  }
  if (!found.empty() && !recorder.empty()) {
    platform::set_environment(kTapeVariable, file);
    platform::set_environment("KVR_TAPE_LIBRARY", library.string());
    platform::start_again(arguments, recorder.parent_path().string());
  }
  return "--tape needs the recorder in the place of the client library: kvr-tape install FOLDER "
         "puts it there, and kvr-tape uninstall FOLDER takes it away";
}

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>

#include "tape/format/line_text.h"
#include "tape/format/reader.h"
#include "tape/platform/process.h"
#include "tape/platform/system.h"
#include "tape/tool/commands.h"
#include "tape/tool/own_libraries.h"

// The commands that run a program: record and play.

namespace tape {
namespace {

namespace fs = std::filesystem;

/// The client library that the program would find: beside itself, or where our programs look.
fs::path library_of(const std::string& program) {
  const fs::path folder = fs::absolute(program).parent_path();
  for (const char* place : {"", "../lib", "../lib/kvr-console-tester/virtual"}) {
    const fs::path file = folder / place / platform::kClientLibraryName;
    if (fs::exists(file)) {
      return fs::canonical(file);
    }
  }
  throw CommandError{"no client library beside " + program + "; --library names it"};
}

platform::Program with_library(const std::vector<std::string>& arguments, const fs::path& folder) {
  platform::Program program;
  program.arguments = arguments;
  const std::string before = platform::environment_text(platform::kLibraryPath);
  program.environment.emplace_back(
      platform::kLibraryPath,
      folder.string() +
          (before.empty() ? "" : std::string(1, platform::kLibraryPathSeparator) + before));
  return program;
}

void add_typed(const std::string& file, const std::string& typed) {
  if (typed.empty() || !fs::exists(file)) {
    return;
  }
  Event event;
  event.kind = EventKind::kTyped;
  event.name = typed;
  std::ofstream(file, std::ios::app | std::ios::binary) << line_of(event);
}

/// What was typed, as a program reads it from a pipe: Enter is a line feed there, and keys that
/// only a terminal understands are left out.
std::string answers_of(const Tape& tape) {
  std::string answers;
  for (const Event& event : tape.events) {
    if (event.kind == EventKind::kTyped) {
      answers += event.name;
    }
  }
  std::replace(answers.begin(), answers.end(), '\r', '\n');
  std::erase_if(answers, [](char letter) { return letter == 3 || letter == 4 || letter == 28; });
  return answers;
}

}  // namespace

fs::path library_folder(const std::string& name) {
  const fs::path here = platform::own_program().parent_path();
  for (const fs::path& folder :
       {here / ".." / "lib" / "kvr-console-tester" / name, here / name, here / ".." / name}) {
    if (fs::exists(folder / platform::kClientLibraryName)) {
      return fs::canonical(folder);
    }
  }
  throw CommandError{"the " + name + " is not installed beside kvr-tape"};
}

int record(const RecordOptions& options, std::ostream& out) {
  std::string file = options.tape;
  if (file.empty()) {
    file = "kvr-" + platform::local_time().substr(0, 19) + ".kvrtape";
    std::erase(file, ':');
  }
  if (fs::exists(file)) {
    throw CommandError{file + " exists"};
  }
  const fs::path library =
      options.library.empty() ? library_of(options.program.front()) : fs::absolute(options.library);
  platform::Program program = with_library(options.program, library_folder("recorder"));
  program.environment.emplace_back("KVR_TAPE_FILE", fs::absolute(file).string());
  program.environment.emplace_back("KVR_TAPE_LIBRARY", library.string());
  std::string typed;
  const int status = platform::run_and_keep_input(program, typed);
  add_typed(file, typed);
  if (!fs::exists(file)) {
    throw CommandError{"the program made no call of the client library, so there is no tape"};
  }
  out << "recorded " << file << '\n';
  return status;
}

int play(const PlayOptions& options, std::ostream&) {
  const Tape tape = read_tape(options.tape);
  const fs::path receipt = fs::absolute(options.tape + ".receipt.json");
  std::error_code error;
  fs::remove(receipt, error);
  platform::Program program = with_library(options.program, library_folder("player"));
  program.environment.emplace_back("KVR_TAPE_FILE", fs::absolute(options.tape).string());
  program.environment.emplace_back("KVR_TAPE_RECEIPT", receipt.string());
  if (options.answers) {
    program.input = answers_of(tape);
  }
  const int status = platform::run_program(program);
  std::ifstream in(receipt);
  const auto json = nlohmann::json::parse(in, nullptr, false);
  if (json.is_discarded() || !json.value("complete", false) || !json["divergence"].is_null()) {
    platform::complain("kvr-tape: not played whole; " + receipt.string() +
                       (json.is_discarded() ? " was not written" : " says where it ended"));
    return status == 0 ? kFound : status;
  }
  return status;
}

}  // namespace tape

#include "sweep/boundary_sweep.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/errors.h"
#include "platform/platform.h"
#include "shell/console_tester.h"
#include "shell/workbench.h"

namespace fs = std::filesystem;

namespace {

/// Makes `home` the home folder of the program. Returns the results folder.
std::string enter_home(const TemporaryFolder& home) {
  use_home_folder(home.path().string());
  return platform::documents_folder().value_or("") + platform::kPathSeparator + "KVRU3" +
         platform::kPathSeparator;
}

std::string content(const fs::path& file) {
  std::ifstream input(file);
  return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

}  // namespace

BoundarySweep::BoundarySweep()
    : results(enter_home(home)), in_working_folder_(working_folder.path()) {}

void BoundarySweep::prepare(const ExpectedSession& expected) {
  fs::remove_all(results);
  for (const auto& entry : fs::directory_iterator(working_folder.path())) {
    fs::remove_all(entry);
  }
  api.reset();
  reset_session();
  clock.sleeps.clear();
  for (const ExpectedCall& call : expected.calls) {
    api.answer(call.call, call.answer);
  }
}

bool BoundarySweep::run_program(Program program, int& exit_status) {
  try {
    exit_status = program == Program::kConsoleTester ? run_console_tester({}) : run_workbench({});
    return false;
  } catch (const kvr_exception&) {
    return true;
  }
}

std::map<std::string, std::string> BoundarySweep::files() const {
  std::map<std::string, std::string> found;
  if (fs::exists(results)) {
    for (const auto& entry : fs::recursive_directory_iterator(results)) {
      if (entry.is_regular_file()) {
        found[entry.path().string()] = content(entry.path());
      }
    }
  }
  for (const auto& entry : fs::directory_iterator(working_folder.path())) {
    found[entry.path().filename().string()] = content(entry.path());
  }
  return found;
}

std::string lines_of(const std::vector<ExpectedCall>& calls) {
  std::string lines;
  for (const ExpectedCall& call : calls) {
    lines += call.text + "\n";
  }
  return lines;
}

std::string lines_of(const std::vector<SeenCall>& calls) {
  std::string lines;
  for (const SeenCall& call : calls) {
    if (call.call != ApiCall::CancelOperation) {
      lines += text_of_seen(call) + "\n";
    }
  }
  return lines;
}

#include "shell/workbench.h"

#include <iostream>
#include <optional>

#include "console/session.h"
#include "flows/three_phase.h"
#include "records/record_menu.h"
#include "shell/label_menu.h"
#include "shell/main_menu.h"
#include "shell/start_up.h"

namespace {

constexpr int kRefused = 2;

constexpr const char* kUsage =
    "Usage: tester-workbench [--debug] [--quiet] [--serialport PORT]\n"
    "\n"
    "Tests three-phase windings with a connected instrument, shows, exports and deletes the\n"
    "test records that it has stored, and looks terminal labels up. Every answer is a number\n"
    "or a line, ended by Enter.\n"
    "\n"
    "  --debug            ask the client library for its debug mode\n"
    "  --quiet            ask the client library for its quiet mode\n"
    "  --serialport PORT  work with a test station on that serial port\n"
    "  --help             show this text and end\n"
    "  --version          show the version and end\n"
    "\n"
    "Exit status:\n"
    "  0  left through the menu, at the end of input, or by two Ctrl-C\n"
    "  1  the client library could not be started, the connection was lost, or a stop by Ctrl-\\\n"
    "     or Ctrl-Break\n"
    "  2  the command line was refused, or the terminal was closed\n"
    "  5  on Windows: logging off\n"
    "  6  SIGTERM; on Windows: shutting down\n";

int refuse_start(const std::string& what) {
  std::cerr << "tester-workbench: " << what << "\ntester-workbench --help says what it takes.\n";
  return kRefused;
}

/// Looks at the command line before anything else is done. Gives the exit status, or nothing when
/// the program is to start.
std::optional<int> answer_command_line(const std::vector<std::string>& arguments) {
  for (auto word = arguments.begin(); word != arguments.end(); ++word) {
    if (*word == "--help") {
      std::cout << kUsage;
      return 0;
    }
    if (*word == "--version") {
      std::cout << "tester-workbench " << kVersion << '\n';
      return 0;
    }
    if (*word == "--serialport") {
      ++word;
      if (word == arguments.end() || word->empty() || word->starts_with('-')) {
        return refuse_start("--serialport wants a port after it");
      }
    } else if (*word != "--debug" && *word != "--quiet") {
      return refuse_start((word->starts_with('-') ? "unknown option '" : "unknown word '") + *word +
                          "'");
    }
  }
  return std::nullopt;
}

}  // namespace

int run_workbench(const std::vector<std::string>& arguments) {
  if (const std::optional<int> status = answer_command_line(arguments)) {
    return *status;
  }
  ends_with_its_input = true;
  return run_session(arguments, [] {
    constexpr MenuItem kItems[] = {{1, "Three Phase Test", three_phase_menu},
                                   {2, "Records", record_menu},
                                   {3, "Terminal labels", label_menu}};
    run_main_menu(kItems);
  });
}

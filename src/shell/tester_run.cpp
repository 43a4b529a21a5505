#include "shell/tester_run.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <variant>

#include "api/client_api.h"
#include "console/callbacks.h"
#include "console/session.h"
#include "flows/run_files.h"
#include "plan/dry_run.h"
#include "plan/json_lines.h"
#include "plan/junit.h"
#include "plan/plan_reader.h"
#include "plan/runner.h"
#include "plan/stops.h"
#include "shell/start_up.h"
#include "shell/tape_recording.h"

namespace {

constexpr std::streamsize kLongestPlanFile = 1 << 20;

struct CommandLine {
  std::string plan_file;
  std::vector<std::string> replacements;
  std::string junit_file;
  std::string report_file;
  std::string tape;
  bool dry_run = false;
  bool energise = false;
};

constexpr const char* kFooter =
    "Results go to standard output as JSON, one object a line; words for people go to\n"
    "standard error; the files of each run go to the folder for results.\n"
    "\n"
    "Exit status:\n"
    "   0  all results are within their limits\n"
    "  10  no limits were given, or a result is partial\n"
    "  20  a result is outside its limits\n"
    "  30  refused: a test, the connection, the instrument; or the connection was lost, or a\n"
    "      file could not be written\n"
    "  40  stopped\n"
    "  64  the plan or the command line is wrong\n";

int refuse(const std::string& what) {
  std::cerr << "tester-run: " << what << '\n';
  return kBadPlan;
}

/// The command line, or the exit status when it has been answered.
std::variant<CommandLine, int> read_command_line(const std::vector<std::string>& arguments) {
  CommandLine line;
  bool example = false;
  CLI::App app("Runs a plan of tests on a connected instrument, without a person at the prompts.",
               "tester-run");
  app.add_option("PLAN", line.plan_file, "file of the plan, in TOML");
  app.add_option("-e", line.replacements, "replace a value of the plan: TABLE.KEY=VALUE")
      ->allow_extra_args(false);
  app.add_flag("--dry-run", line.dry_run, "show what would be done, and end");
  app.add_flag("--energise", line.energise,
               "run tests on a real instrument too: they put voltage on its terminals");
  app.add_option("--junit", line.junit_file, "also write the results to a file as JUnit XML");
  app.add_option("--report", line.report_file,
                 "also write the results to a file as a page, see kvr-report");
  app.add_option("--tape", line.tape,
                 "also record the run on a tape, a file that does not exist yet");
  app.add_flag("--example", example, "write a commented plan to standard output, and end");
  app.set_version_flag("--version", std::string("tester-run ") + kVersion);
  app.footer(kFooter);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& answer) {
    return app.exit(answer, std::cout, std::cerr) == 0 ? 0 : kBadPlan;
  }
  if (example) {
    std::cout << kExamplePlan;
    return 0;
  }
  if (line.plan_file.empty()) {
    return refuse("which plan? tester-run --help says what it takes.");
  }
  return line;
}

std::optional<std::string> text_of_file(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  std::string text(static_cast<std::size_t>(kLongestPlanFile) + 1, '\0');
  file.read(text.data(), kLongestPlanFile + 1);
  if (file.bad() || file.gcount() == 0 || file.gcount() > kLongestPlanFile) {
    return std::nullopt;
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  return text;
}

std::optional<Plan> plan_of(const CommandLine& line) {
  const auto text = text_of_file(line.plan_file);
  if (!text) {
    refuse(line.plan_file + ": can't be read, is empty, or has more than 1 MiB");
    return std::nullopt;
  }
  PlanReading reading = read_plan(*text, line.plan_file, line.replacements);
  for (const std::string& problem : reading.problems) {
    std::cerr << problem << '\n';
  }
  return reading.problems.empty() ? std::optional(std::move(reading.plan)) : std::nullopt;
}

/// What the program's core says on standard output goes to standard error while one lives; results
/// go to `results`.
class WordsOnStandardError {
 public:
  WordsOnStandardError() : results(std::cout.rdbuf()), saved_(std::cout.rdbuf()) {
    std::cout.rdbuf(std::cerr.rdbuf());
  }
  ~WordsOnStandardError() { std::cout.rdbuf(saved_); }
  WordsOnStandardError(const WordsOnStandardError&) = delete;
  WordsOnStandardError& operator=(const WordsOnStandardError&) = delete;

  std::ostream results;

 private:
  std::streambuf* const saved_;
};

/// Where the library's threads write events; null when no plan runs.
std::atomic<JsonLines*> event_lines = nullptr;

void on_plan_status(void* /*context*/, kvr_code code, const char* text) {
  show_status_event(code, text);
  if (JsonLines* const lines = event_lines) {
    const char* const words = kvr_CodeToString(code);
    lines->event(code, words == nullptr ? "" : words, text);
  }
  if (kvr_CheckConnection() != 0) {
    note_lost_connection();
  }
}

bool connect(const Plan& plan) {
  FirmwareText firmware_version{};
  const CancellableCall call;
  if (stop_was_asked_for()) {
    return false;
  }
  if (!connect_to_instrument(plan.connection, firmware_version)) {
    std::cout << '\n';
    return false;
  }
  show_device(firmware_version);
  return true;
}

bool is_virtual() { return device_serial.starts_with("VI-"); }

/// Connects and runs the plan.
void run_connected(const Plan& plan, bool energise, PlanRunner& runner, JsonLines& lines) {
  if (!connect(plan)) {
    if (stop_was_asked_for()) {
      runner.end_with(Verdict::cancelled, "stopped");
    } else {
      runner.end_with(Verdict::refused, "no connection");
    }
    return;
  }
  lines.instrument();
  if (!energise && !is_virtual()) {
    runner.end_with(Verdict::refused,
                    "this is a real instrument, whose tests put voltage on its terminals; "
                    "--energise runs them");
  } else if (const auto objection = runner.objection()) {
    std::cout << *objection << '\n';
    runner.end_with(Verdict::refused, "the instrument can't make these tests");
  } else {
    runner.run();
  }
}

/// Whether the recorder could make the tape at the first call; true without one.
bool tape_is_there(const std::string& tape) {
  std::error_code error;
  return tape.empty() || std::filesystem::exists(tape, error);
}

void run_session_of(const Plan& plan, const CommandLine& line, PlanRunner& runner,
                    JsonLines& lines) {
  make_results_folder();
  Options options;
  options.debug = plan.debug;
  options.quiet = plan.quiet;
  options.serial_port = plan.serial_port;
  kvr_InitParams params = make_init_params(options);
  params.status_callback = on_plan_status;
  if (!start_client_library(options, params)) {
    runner.end_with(Verdict::refused, "the client library could not be started");
    return;
  }
  try {
    if (tape_is_there(line.tape)) {
      run_connected(plan, line.energise, runner, lines);
    } else {
      runner.end_with(Verdict::refused, "the tape can't be written");
    }
  } catch (const std::exception& error) {
    runner.end_with(Verdict::refused, error.what());
  }
  kvr_Lib_Shutdown();
}

bool write_junit(const std::string& name, const Plan& plan, const PlanRunner& runner) {
  std::ofstream file(name, std::ios::binary);
  file << junit_text(plan, runner.measurements());
  file.close();
  if (file.good()) {
    return true;
  }
  std::cerr << "tester-run: " << name << " can't be written\n";
  return false;
}

PlanFacts facts_of(const Plan& plan, const PlanRunner& runner) {
  PlanFacts facts{plan, device_info, client_version, {}};
  for (const RunFiles& files : runner.files()) {
    if (!files.name.empty()) {
      facts.files.push_back(files.name);
    }
    if (files.has_raw_file) {
      facts.files.push_back(raw_file_name(files.name));
    }
  }
  return facts;
}

bool write_page(const std::string& name, const PageMaker& pages, const PlanFacts& facts) {
  try {
    const std::string page = pages.page(facts);
    std::ofstream file(name, std::ios::binary);
    file << page;
    file.close();
    if (file.good()) {
      return true;
    }
    std::cerr << "tester-run: " << name << " can't be written\n";
  } catch (const std::exception& error) {
    std::cerr << "tester-run: no page, " << error.what() << '\n';
  }
  return false;
}

}  // namespace

int run_tester_run(const std::vector<std::string>& arguments, const PageMaker& pages) {
  const auto answer = read_command_line(arguments);
  if (const int* status = std::get_if<int>(&answer)) {
    return *status;
  }
  const auto& line = std::get<CommandLine>(answer);
  if (!line.tape.empty() && !line.dry_run) {
    if (const auto problem = record_on_tape(line.tape, arguments)) {
      return refuse(*problem);
    }
  }
  const std::optional<Plan> plan = plan_of(line);
  if (!plan) {
    return kBadPlan;
  }
  if (line.dry_run) {
    std::cout << dry_run_text(*plan);
    return 0;
  }
  listen_for_stops();
  WordsOnStandardError words;
  // Never destroyed: a thread of the library may write when the process ends.
  auto& lines = *new JsonLines(*new std::ostream(words.results.rdbuf()));
  event_lines = &lines;
  const bool has_page = !line.report_file.empty() && pages.page != nullptr;
  PlanRunner runner(*plan, lines, has_page ? pages.add : RecordListener());
  lines.plan(*plan, kVersion);
  run_session_of(*plan, line, runner, lines);
  if (!line.junit_file.empty() && !write_junit(line.junit_file, *plan, runner)) {
    runner.end_with(Verdict::refused, "the JUnit file can't be written");
  }
  if (has_page && !write_page(line.report_file, pages, facts_of(*plan, runner))) {
    runner.end_with(Verdict::refused, "the report can't be written");
  }
  const PlanEnd end = runner.end();
  lines.end(end);
  std::cerr << end.measured << " of " << end.planned
            << " measurements made: " << name_of(end.verdict) << ".\n";
  if (!lines.are_written()) {
    std::cerr << "tester-run: standard output can't be written\n";
    return std::max(end.exit_status, exit_status_of(Verdict::refused));
  }
  return end.exit_status;
}

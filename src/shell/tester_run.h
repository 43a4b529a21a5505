#pragma once

#include <functional>
#include <string>
#include <vector>

#include "api/session_records.h"
#include "plan/plan.h"
#include "plan/runner.h"

/// What is known of a run of a plan beyond its records.
struct PlanFacts {
  const Plan& plan;
  const kvr_DeviceInfo& device;  ///< all zero if there was none
  std::string client_version;
  std::vector<std::string> files;  ///< run files and RAW files
};

/// Makes the page of --report. Both functions are set, or neither where there are no pages.
struct PageMaker {
  RecordListener add;
  /// Throws what is derived from std::exception if no page can be made.
  std::function<std::string(const PlanFacts& facts)> page;
};

/// The unattended tester: runs a plan of tests from a file without a person at the prompts.
/// `arguments` are those of the command line without the program's own path. Returns the exit
/// status. May end the process itself: on a second stop, and on a lost connection.
int run_tester_run(const std::vector<std::string>& arguments, const PageMaker& pages = {});

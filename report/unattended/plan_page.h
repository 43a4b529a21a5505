#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "record_form/record_nest.h"
#include "shell/tester_run.h"

// The page of a plan: tester-run has what the client library returned, so nothing is read back from
// its files but their checksums.

namespace report {

class PlanPage {
 public:
  /// Keeps a copy. The tests of one number become one section.
  void add(std::size_t test, const kvr_TestRecord& record);

  /// May be called once. Throws std::runtime_error for a file that can't be read.
  std::string render(const PlanFacts& facts, const std::string& program_version);

 private:
  std::map<std::size_t, std::vector<RecordNest>> tests_;
};

}  // namespace report

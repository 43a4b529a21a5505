#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "report/facts/facts.h"

// The report file of a run of one test: blocks of the text that the operator read, with each "="
// replaced by ";". The lines of a single-phase ratio test become its result again; of any other
// test they are kept as lines.

namespace report {

struct ReportText {
  std::string serial_number;
  std::string software_version;
  Record record;
};

std::vector<ReportText> parse_report_text(std::string_view bytes);

}  // namespace report

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "report/page/page.h"

// The program's work without its command line: from sources to a page.

namespace report {

struct Sources {
  std::filesystem::path tape;  ///< empty for none, as below
  std::filesystem::path store;
  std::filesystem::path runs;
  std::filesystem::path settings;
  std::filesystem::path compare;
  bool compares_phases = false;      ///< with each other, in place of another source
  std::vector<std::string> records;  ///< IDs; empty for all
};

/// Why no page can be made, a line each.
struct Problems {
  std::vector<std::string> lines;
};

/// Throws Problems.
std::string make_page(const Sources& sources, const std::string& program_version);

}  // namespace report

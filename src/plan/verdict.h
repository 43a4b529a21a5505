#pragma once

#include <string>
#include <vector>

#include "api/result_records.h"
#include "plan/plan.h"

// What a measurement, and a whole plan, has come to.

/// In order of weight: the verdict of a plan is the heaviest of its measurements.
enum class Verdict { within, no_limits, partial, outside, refused, cancelled };

/// As the output names it.
const char* name_of(Verdict verdict);

/// The exit status of a plan.
int exit_status_of(Verdict verdict);

/// Exit status of a plan, or a command line, that can't be run.
constexpr int kBadPlan = 64;

/// A number of a result beside its limits.
struct Check {
  std::string quantity;
  std::string phase;  ///< empty for a number of the result as a whole
  double value;
  double low;
  double high;

  /// False for NaN too.
  bool holds() const { return value >= low && value <= high; }
};

struct Judgement {
  Verdict verdict;
  std::vector<Check> checks;
};

/// Judges a test by its code and record; the record is null for a refused test. A code that says
/// so, a phase that failed, and a record without results make a partial result, unless a limit does
/// not hold.
Judgement judge(kvr_code code, const kvr_TestRecord* record, const PlannedTest& test);

/// The quantities that limits may name, in the order of the record.
std::vector<std::string> quantities(bool three_phase);

/// Whether a quantity compares with the nameplate ratio.
bool needs_nameplate_ratio(const std::string& quantity);

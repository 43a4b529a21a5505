#pragma once

#include <optional>
#include <string>
#include <string_view>

// From a value and its limits to a verdict, by a stated rule of decision (ILAC-G8): simple
// acceptance, or a guard band between the limit and where a value passes.

namespace report {

struct DecisionRule {
  bool has_guard_band = false;
  double guard_factor = 1;  ///< the guard band is this times the expanded uncertainty

  std::string text() const;
};

enum class Verdict { kPass, kConditionalPass, kConditionalFail, kFail, kNone };

/// "pass", "conditional pass", "conditional fail", "fail", "no verdict".
std::string_view verdict_text(Verdict verdict);

/// Where a value may lie; a side without a limit holds none.
struct Limits {
  std::optional<double> lower;
  std::optional<double> upper;

  static Limits symmetric(double limit) { return {-limit, limit}; }
  static Limits at_most(double limit) { return {std::nullopt, limit}; }
};

/// No verdict for a value that is no number, without any limit, or where a guard band is asked for
/// and the uncertainty is not stated.
Verdict decide(double value, const Limits& limits, std::optional<double> expanded_uncertainty,
               const DecisionRule& rule);

}  // namespace report

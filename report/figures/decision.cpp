#include "report/figures/decision.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "report/figures/numbers.h"

namespace report {
namespace {

/// How far inside its limits a value lies; negative outside.
double margin_of(double value, const Limits& limits) {
  double margin = std::numeric_limits<double>::infinity();
  if (limits.upper) {
    margin = std::min(margin, *limits.upper - value);
  }
  if (limits.lower) {
    margin = std::min(margin, value - *limits.lower);
  }
  return margin;
}

}  // namespace

std::string DecisionRule::text() const {
  if (!has_guard_band) {
    return "simple acceptance";
  }
  return "guard band w = " + (guard_factor == 1 ? "" : shortest(guard_factor) + " ") + "U";
}

std::string_view verdict_text(Verdict verdict) {
  switch (verdict) {
    case Verdict::kPass:
      return "pass";
    case Verdict::kConditionalPass:
      return "conditional pass";
    case Verdict::kConditionalFail:
      return "conditional fail";
    case Verdict::kFail:
      return "fail";
    default:
      return "no verdict";
  }
}

Verdict decide(double value, const Limits& limits, std::optional<double> expanded_uncertainty,
               const DecisionRule& rule) {
  const bool has_limit = limits.lower || limits.upper;
  if (!has_limit || std::isnan(value) || (rule.has_guard_band && !expanded_uncertainty)) {
    return Verdict::kNone;
  }
  const double margin = margin_of(value, limits);
  // Decimal fractions such as 0.5 - 0.4 are not exact in binary: a value on the limit passes.
  const double rounding =
      1e-12 * std::max(std::abs(limits.upper.value_or(0)), std::abs(limits.lower.value_or(0)));
  const double guard = rule.has_guard_band ? rule.guard_factor * *expanded_uncertainty : 0;
  if (margin >= guard - rounding) {
    return Verdict::kPass;
  }
  if (margin >= -rounding) {
    return Verdict::kConditionalPass;
  }
  return rule.has_guard_band && margin >= -guard - rounding ? Verdict::kConditionalFail
                                                            : Verdict::kFail;
}

}  // namespace report

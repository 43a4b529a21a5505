#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

// The knee of an excitation curve by three rules. Each looks for the first point where the curve
// becomes flatter than the rule allows, from low voltages up; a curve that is flatter from its
// beginning, or never, has no knee by that rule.

namespace report {

struct ExcitationPoint {
  double voltage;
  double current;
};

/// An excitation curve as ln I over ln U, within its range of voltages.
struct ExcitationCurve {
  std::function<double(double ln_voltage)> ln_current;
  double lowest_voltage;
  double highest_voltage;
};

/// Joins measured points by a smooth curve without swings between them. Points without a positive
/// voltage and current, and of a voltage that was before, are left out. Nothing for fewer than
/// three.
std::optional<ExcitationCurve> curve_through(std::span<const ExcitationPoint> points);

struct KneeRule {
  std::string_view name;
  std::string_view text;
  double tangent;  ///< d ln U / d ln I at the knee; 0 for the rule of 10 and 50 percent
};

constexpr KneeRule kKneeRules[] = {
    {"IEC 61869-2", "10 % more voltage takes 50 % more current", 0},
    {"IEEE C57.13, 45 degrees", "tangent at 45 degrees, core without gap", 1},
    {"IEEE C57.13, 30 degrees", "tangent at 30 degrees, core with gap", 0.57735026918962576},
};

/// The voltage of the knee.
std::optional<double> knee_voltage(const ExcitationCurve& curve, const KneeRule& rule);

}  // namespace report

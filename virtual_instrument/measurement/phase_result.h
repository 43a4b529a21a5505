#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "api/result_records.h"
#include "virtual_instrument/measurement/samples.h"

namespace virtual_instrument {

/// Letters of the phases, as results name them.
inline constexpr std::array<const char*, 3> kPhaseNames{"A", "B", "C"};

struct PhaseNames {
  std::string_view phase;
  std::string_view high;
  std::string_view low;
};

/// How to compute a turns ratio from the voltages of a pair of terminals, and its reference.
struct RatioRules {
  bool low_to_high;                  ///< the ratio of a current transformer: low over high
  double turns_per_voltage_ratio;    ///< 1 if each pair of terminals is one winding
  double reference;                  ///< nameplate's ratio of voltages; 0 for none
  std::optional<double> user_shift;  ///< rad, the phase shift that the operator entered
  double voltage_lead;  ///< rad, by which the measured voltage leads the one driving the current
};

/// The result of one phase: every number is computed from the samples.
kvr_TestData_Ratio_Phase phase_result(const SampledTest& test, const PhaseNames& names,
                                      const RatioRules& rules);

/// The deviation of a phase shift from the one that the operator entered, or from the nearest hour
/// of the clock if none was entered.
double phase_deviation(double shift, std::optional<double> user_shift);

/// `value` over `reference` as an error in percent; 0 without a reference.
double error_percent(double value, double reference);

/// The samples as readable text: comment lines, a heading, and a line per sample.
std::string raw_text(const SampledTest& test, const PhaseNames& names);

}  // namespace virtual_instrument

#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

// Ratio errors, the errors of current transformers from their exciting current, sums of errors
// against a standard, and figures of three phases beside each other.

namespace report {

/// (measured / nominal - 1) in percent.
double ratio_error_percent(double measured, double nominal);

/// The lower of 0.5 % and a tenth of the short-circuit impedance, both in percent.
double ratio_limit_percent(double impedance_percent);

/// A current transformer with the exciting current seen from its primary side.
struct CurrentTransformer {
  double nominal_ratio;
  double turns_ratio;        ///< the same, unless turns compensate for the exciting current
  double secondary_current;  ///< A
  double magnetizing;        ///< A, part of the exciting current in phase with the flux
  double loss;               ///< A, part in phase with the induced voltage
  double burden_angle;       ///< rad, of burden and winding together; positive for an inductance
};

/// Magnetising and loss part of an exciting current with this power factor.
CurrentTransformer current_transformer(double nominal_ratio, double secondary_current,
                                       double exciting_current, double power_factor);

struct CurrentErrors {
  double ratio;
  double ratio_error;   ///< percent
  double displacement;  ///< minutes; positive where the secondary current leads
};

/// By the usual formulas of the first order.
CurrentErrors current_errors(const CurrentTransformer& transformer);

/// By the phasors, without neglecting anything.
CurrentErrors exact_current_errors(const CurrentTransformer& transformer);

/// The error of a transformer that was compared with a standard which has errors of its own.
struct ErrorPair {
  double ratio_error;   ///< percent
  double displacement;  ///< minutes
};
ErrorPair sum_of_errors(const ErrorPair& against_standard, const ErrorPair& of_standard);

struct PhaseSpread {
  double range_percent;      ///< (largest - smallest) / mean
  double deviation_percent;  ///< largest deviation from the mean, over the mean
  double range_of_smallest;  ///< (largest - smallest) / smallest, as others define it
};
/// Nothing without values, or with one that is not positive.
std::optional<PhaseSpread> phase_spread(std::span<const double> values);

/// The voltages of three limbs, one of which is excited.
struct BalanceSum {
  double sum_percent;        ///< the two other limbs together, of the excited one
  double deviation_percent;  ///< of that from 100
};
BalanceSum balance_sum(std::span<const double, 3> limbs, std::size_t excited);

/// What a magnetic balance looks like on a sound core: nearer above farther, or equal for the
/// middle.
bool is_balance_pattern(std::span<const double, 3> limbs, std::size_t excited);

}  // namespace report

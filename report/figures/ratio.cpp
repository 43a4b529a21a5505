#include "report/figures/ratio.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>

namespace report {
namespace {

constexpr double kMinutesPerRadian = 180 * 60 / std::numbers::pi;

}  // namespace

double ratio_error_percent(double measured, double nominal) {
  return (measured / nominal - 1) * 100;
}

double ratio_limit_percent(double impedance_percent) {
  return std::min(0.5, impedance_percent / 10);
}

CurrentTransformer current_transformer(double nominal_ratio, double secondary_current,
                                       double exciting_current, double power_factor) {
  return {nominal_ratio,
          nominal_ratio,
          secondary_current,
          exciting_current * std::sqrt(1 - power_factor * power_factor),
          exciting_current * power_factor,
          0};
}

CurrentErrors current_errors(const CurrentTransformer& ct) {
  const double sine = std::sin(ct.burden_angle);
  const double cosine = std::cos(ct.burden_angle);
  const double ratio =
      ct.turns_ratio + (ct.loss * cosine + ct.magnetizing * sine) / ct.secondary_current;
  const double angle =
      (ct.magnetizing * cosine - ct.loss * sine) / (ct.turns_ratio * ct.secondary_current);
  return {ratio, (ct.nominal_ratio / ratio - 1) * 100, angle * kMinutesPerRadian};
}

CurrentErrors exact_current_errors(const CurrentTransformer& ct) {
  // The secondary current is the reference; it lags its voltage by the angle of the burden.
  const std::complex<double> exciting =
      std::polar(1.0, ct.burden_angle) * std::complex<double>(ct.loss, -ct.magnetizing);
  const std::complex<double> primary = ct.turns_ratio * ct.secondary_current + exciting;
  const double ratio = std::abs(primary) / ct.secondary_current;
  return {ratio, (ct.nominal_ratio / ratio - 1) * 100, -std::arg(primary) * kMinutesPerRadian};
}

ErrorPair sum_of_errors(const ErrorPair& against_standard, const ErrorPair& of_standard) {
  return {against_standard.ratio_error + of_standard.ratio_error,
          against_standard.displacement + of_standard.displacement};
}

std::optional<PhaseSpread> phase_spread(std::span<const double> values) {
  if (values.empty() || !std::all_of(values.begin(), values.end(), [](double value) {
        return value > 0 && std::isfinite(value);
      })) {
    return std::nullopt;
  }
  double mean = 0;
  for (const double value : values) {
    mean += value / static_cast<double>(values.size());
  }
  const auto [smallest, largest] = std::minmax_element(values.begin(), values.end());
  const double deviation = std::max(*largest - mean, mean - *smallest);
  return PhaseSpread{(*largest - *smallest) / mean * 100, deviation / mean * 100,
                     (*largest - *smallest) / *smallest * 100};
}

BalanceSum balance_sum(std::span<const double, 3> limbs, std::size_t excited) {
  double others = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    others += i == excited ? 0 : limbs[i];
  }
  const double percent = others / limbs[excited] * 100;
  return {percent, percent - 100};
}

bool is_balance_pattern(std::span<const double, 3> limbs, std::size_t excited) {
  if (excited == 1) {
    constexpr double kAlike = 0.1;  // of the excited limb: the rule has no number of its own
    return std::abs(limbs[0] - limbs[2]) <= kAlike * std::abs(limbs[1]);
  }
  const std::size_t farther = 2 - excited;
  return limbs[1] > limbs[farther];
}

}  // namespace report

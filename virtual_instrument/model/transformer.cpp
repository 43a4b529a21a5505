#include "virtual_instrument/model/transformer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "virtual_instrument/model/steady_state.h"

namespace virtual_instrument {
namespace {

std::vector<double> scaled(std::vector<double> values, double factor) {
  std::transform(values.begin(), values.end(), values.begin(),
                 [factor](double value) { return value * factor; });
  return values;
}

}  // namespace

Transformer make_transformer(const TransformerSettings& settings) {
  const double omega = 2 * std::numbers::pi * settings.frequency;
  const double rated_flux = std::numbers::sqrt2 * settings.high_voltage / omega;
  MagnetizingBranch core{};
  core.core_conductance = 1 / settings.core_resistance;
  core.inductance = settings.magnetizing_reactance / omega;
  core.low_flux_excess = settings.low_flux_excess;
  core.low_flux = settings.low_flux * rated_flux;
  core.knee_flux = settings.saturation ? settings.knee_flux * rated_flux
                                       : std::numeric_limits<double>::infinity();
  core.knee_width = settings.knee_width * rated_flux;
  core.saturated_inductance = settings.saturated_reactance / omega;
  core.residual_flux = settings.residual_flux * rated_flux;
  const double rated_ratio = settings.high_voltage / settings.low_voltage;
  return {rated_ratio * (1 + settings.turns_deviation / 100),
          {settings.high_resistance, settings.high_reactance / omega},
          {settings.low_resistance, settings.low_reactance / omega},
          core};
}

Waveforms excite(const Transformer& transformer, const Excitation& excitation) {
  const bool from_high = excitation.side == Side::high;
  const double ratio = transformer.turns_ratio;
  // Everything is solved as the high side sees it.
  const double seen_ratio = from_high ? 1 : ratio;
  const Winding& winding = from_high ? transformer.high : transformer.low;
  const ExcitedWinding excited{winding.resistance * seen_ratio * seen_ratio,
                               winding.leakage_inductance * seen_ratio * seen_ratio,
                               transformer.core};
  const SineSource source{std::numbers::sqrt2 * excitation.voltage * seen_ratio,
                          2 * std::numbers::pi * excitation.frequency};
  const SteadyState steady = solve_steady_state(excited, source);

  const std::vector<double> nothing(steady.current.size(), 0.0);
  if (from_high) {
    return {steady.source_voltage, scaled(steady.induced_voltage, 1 / ratio), steady.current,
            nothing};
  }
  return {steady.induced_voltage, scaled(steady.source_voltage, 1 / ratio), nothing,
          scaled(steady.current, ratio)};
}

}  // namespace virtual_instrument

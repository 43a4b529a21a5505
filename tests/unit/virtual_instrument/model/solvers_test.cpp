#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "unit/virtual_instrument/model/marching_solver.h"
#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/measurement/samples.h"
#include "virtual_instrument/measurement/unit_waveforms.h"

// Two solvers, one by integration in time and one by harmonic balance, must find the same state.

namespace virtual_instrument {
namespace {

TransformerUnit saturating_unit(double residual) {
  TransformerUnit unit = single_phase_unit();
  for (LimbWinding& winding : unit.windings) {
    winding.stray_share = 0;  // the marching solver has no eddy currents
  }
  MagnetizingBranch& limb = unit.core.limb;
  limb.knee_flux = 1.15 * rated_flux(unit);
  limb.knee_width = 0.2 * rated_flux(unit);
  limb.saturated_inductance = limb.inductance / 50;
  limb.low_flux_excess = 1.5;
  limb.low_flux = 0.02 * rated_flux(unit);
  limb.residual_flux = residual * rated_flux(unit);
  unit.core.residual_flux[0] = limb.residual_flux;
  unit.core.hysteresis_share = 0;
  return unit;
}

struct FoundState {
  double current;
  std::complex<double> ratio;
};

FoundState balanced(const TransformerUnit& unit, double voltage) {
  const std::vector<VoltageSource> sources = pair_sources(Side::high, {1, 2}, voltage);
  const PeriodicState state = solve_network(unit_network(unit, 1e12), sources, unit.frequency);
  return {rms(waveform(state.source_current[0], 256)),
          quotient(terminal_voltage(state, Side::high, {1, 2})[1],
                   terminal_voltage(state, Side::low, {1, 2})[1])};
}

std::complex<double> phasor(const std::vector<double>& period) {
  return fundamental(period, kStepsPerPeriod);
}

FoundState marched(const TransformerUnit& unit, double voltage) {
  const LimbWinding& high = unit.windings[Side::high];
  const SteadyState state =
      solve_steady_state({high.resistance, high.leakage_inductance, unit.core.limb},
                         {std::numbers::sqrt2 * voltage, 2 * std::numbers::pi * unit.frequency});
  return {rms(state.current),
          turns_ratio(unit) * phasor(state.source_voltage) / phasor(state.induced_voltage)};
}

void expect_same(double residual, double voltage, double current_tolerance) {
  const TransformerUnit unit = saturating_unit(residual);
  const FoundState one = balanced(unit, voltage);
  const FoundState other = marched(unit, voltage);
  EXPECT_NEAR(one.current / other.current, 1, current_tolerance) << voltage;
  EXPECT_NEAR(std::abs(one.ratio) / std::abs(other.ratio), 1, 2e-5) << voltage;
  EXPECT_NEAR(std::arg(one.ratio), std::arg(other.ratio), 2e-5) << voltage;
}

TEST(Solvers, AgreeWithAndWithoutSaturation) {
  for (const double voltage : {10.0, 100.0, 2000.0, 8000.0}) {
    expect_same(0, voltage, 1e-3);
  }
  expect_same(0, 9500, 0.01);
}

TEST(Solvers, AgreeWithResidualFlux) { expect_same(0.7, 8000, 0.01); }

}  // namespace
}  // namespace virtual_instrument

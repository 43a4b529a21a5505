#include "virtual_instrument/measurement/current_errors.h"

#include <numbers>

#include "virtual_instrument/measurement/unit_waveforms.h"

namespace virtual_instrument {
namespace {

/// Of the secondary winding with its burden, in ohm.
Complex secondary_impedance(const TransformerUnit& unit) {
  const LimbWinding& winding = unit.windings[Side::low];
  const double hot = heating_factor(unit.conductor, unit.reference_temperature, unit.temperature);
  const double omega = 2 * std::numbers::pi * unit.frequency;
  return {winding.resistance * hot + unit.burden.resistance,
          omega * (winding.leakage_inductance + unit.burden.inductance)};
}

/// R.m.s. phasor of the current that the core takes at a voltage, seen from the secondary.
Complex exciting_current(TransformerUnit unit, Complex voltage) {
  unit.burden = {};
  unit.source = {};
  const PeriodicState state =
      solve_network(unit_network(unit, kInputResistance),
                    pair_sources(Side::low, {1, 2}, magnitude(voltage)), unit.frequency);
  return state.source_current[0][1] / std::numbers::sqrt2 * (voltage / magnitude(voltage));
}

}  // namespace

std::vector<CurrentErrors> current_errors(const TransformerUnit& unit) {
  const double turns = rated_turns_ratio(unit) / turns_ratio(unit);
  std::vector<CurrentErrors> errors;
  for (const double share : {0.01, 0.05, 0.2, 1.0, 1.2}) {
    const Complex secondary = share * rated_current(unit, Side::low);
    const Complex primary =
        secondary + exciting_current(unit, secondary * secondary_impedance(unit));
    const Complex quotient_of_currents = quotient(secondary, primary) / turns;
    errors.push_back({share, (magnitude(quotient_of_currents) - 1) * 100,
                      degrees(angle(quotient_of_currents)) * 60});
  }
  return errors;
}

}  // namespace virtual_instrument

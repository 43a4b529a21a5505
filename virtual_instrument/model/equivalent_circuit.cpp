#include "virtual_instrument/model/equivalent_circuit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <stdexcept>

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

/// Far above any winding, so that the current into the meters of these tests is negligible.
constexpr double kMeterResistance = 1e9;

double reactive_power(const CircuitTest& test, double phases_root) {
  const double apparent = phases_root * test.voltage * test.current;
  if (!(test.power > 0) || test.power > apparent) {
    throw std::invalid_argument("a test took more power than its voltage and current make");
  }
  return std::sqrt(apparent * apparent - test.power * test.power);
}

double phases_root(kvr_WindingType type) { return is_three_phase(type) ? std::sqrt(3.0) : 1; }

double rms_of_spectrum(const Spectrum& spectrum) {
  double sum = 0;
  for (std::size_t harmonic = 1; harmonic < spectrum.size(); ++harmonic) {
    sum += std::norm(spectrum[harmonic]) / 2;
  }
  return std::sqrt(sum);
}

CircuitTest read(const TransformerUnit& unit, const Network& network, Side side, double voltage,
                 double frequency) {
  const std::vector<VoltageSource> sources = balanced_sources(unit, side, voltage);
  const PeriodicState state = solve_network(network, sources, frequency);
  CircuitTest test{side, voltage, 0, 0};
  const std::size_t lines = is_three_phase(unit.group.high) ? 3 : 1;
  for (std::size_t line = 0; line < lines; ++line) {
    test.current += rms_of_spectrum(state.source_current[line]) / static_cast<double>(lines);
    test.power += source_power(state, line, sources[line]);
  }
  return test;
}

TransformerUnit first_guess(const UnitPlate& plate, const CircuitTest& open_circuit,
                            const CircuitTest& short_circuit) {
  TransformerUnit unit{};
  unit.group = plate.group;
  unit.rated_voltage = {plate.high_voltage, plate.low_voltage};
  unit.kva = plate.kva;
  unit.frequency = plate.frequency;
  unit.reference_temperature = 20;
  unit.temperature = 20;
  unit.taps = {KVR_TAP_CHANGER_NONE, 1, 1, 1, 1, 0, 0};
  const bool three_phase = is_three_phase(plate.group.high);
  const double omega = 2 * std::numbers::pi * plate.frequency;
  const double ratio = plate.high_voltage / plate.low_voltage;

  Core& core = unit.core;
  core.limbs = three_phase ? 3 : 1;
  core.yoke_ratio = plate.yoke_ratio;
  core.hysteresis_share = plate.hysteresis_share;
  core.reference_frequency = plate.frequency;
  const double open_voltage = open_circuit.voltage * (open_circuit.side == Side::high ? 1 : ratio) /
                              line_voltage_factor(plate.group.high);
  const double limbs = three_phase ? 3 + 2 * plate.yoke_ratio : 1;
  const double limb_square = limbs * open_voltage * open_voltage;
  core.limb.core_conductance = open_circuit.power / limb_square;
  core.limb.inductance =
      limb_square / (omega * reactive_power(open_circuit, phases_root(plate.group.high)));
  core.limb.low_flux = rated_flux(unit);
  core.limb.knee_flux = std::numeric_limits<double>::infinity();
  core.limb.knee_width = core.limb.low_flux;
  core.limb.saturated_inductance = core.limb.inductance;

  const double current = short_circuit.current * (short_circuit.side == Side::high ? 1 : 1 / ratio);
  const double branches = three_phase ? 3 : 1;
  const double winding_current =
      plate.group.high == KVR_WINDING_D ? current / std::sqrt(3.0) : current;
  const double square = branches * winding_current * winding_current;
  const double turns = rated_turns_ratio(unit);
  const double reactance =
      reactive_power(short_circuit, phases_root(plate.group.high)) / square / 2;
  const double resistance = short_circuit.power / square / 2 / (1 + plate.stray_share);
  unit.windings[Side::high] = {resistance, reactance / omega, plate.stray_share};
  unit.windings[Side::low] = {resistance / (turns * turns), reactance / omega / (turns * turns),
                              plate.stray_share};
  return unit;
}

}  // namespace

EquivalentCircuit equivalent_circuit(const CircuitTest& open_circuit,
                                     const CircuitTest& short_circuit, double ratio) {
  const double open_square = open_circuit.voltage * open_circuit.voltage *
                             (open_circuit.side == Side::high ? 1 : ratio * ratio);
  const double short_square = short_circuit.current * short_circuit.current /
                              (short_circuit.side == Side::high ? 1 : ratio * ratio);
  return {open_square / open_circuit.power, open_square / reactive_power(open_circuit, 1),
          short_circuit.power / short_square, reactive_power(short_circuit, 1) / short_square};
}

TransformerUnit unit_from_tests(const UnitPlate& plate, const CircuitTest& open_circuit,
                                const CircuitTest& short_circuit) {
  TransformerUnit unit = first_guess(plate, open_circuit, short_circuit);
  const double root = phases_root(plate.group.high);
  // Each part also affects the other test a little, so the parts are adjusted until both readings
  // fit.
  constexpr double kRightEnough = 1e-10;
  double worst = 1;
  const auto correction = [&worst](double target, double reading) {
    worst = std::max(worst, std::abs(target / reading - 1));
    return target / reading;
  };
  for (int round = 0; round < 20 && worst > kRightEnough; ++round) {
    worst = 0;
    const CircuitTest open =
        open_circuit_test(unit, open_circuit.side, open_circuit.voltage, plate.frequency);
    unit.core.limb.core_conductance *= correction(open_circuit.power, open.power);
    unit.core.limb.inductance /=
        correction(reactive_power(open_circuit, root), reactive_power(open, root));
    const CircuitTest shorted =
        short_circuit_test(unit, short_circuit.side, short_circuit.current, plate.frequency);
    const double resistance = correction(short_circuit.power, shorted.power);
    const double reactance =
        correction(reactive_power(short_circuit, root), reactive_power(shorted, root));
    for (LimbWinding& winding : unit.windings) {
      winding.resistance *= resistance;
      winding.leakage_inductance *= reactance;
    }
  }
  unit.core.limb.saturated_inductance = unit.core.limb.inductance;
  return unit;
}

std::vector<VoltageSource> balanced_sources(const TransformerUnit& unit, Side side,
                                            double line_voltage) {
  const double peak = line_voltage * std::numbers::sqrt2;
  if (!is_three_phase(unit.group.high)) {
    return {{terminal_node(side, 1), peak}, {terminal_node(side, 2), 0}};
  }
  std::vector<VoltageSource> sources;
  for (int terminal = 1; terminal <= 3; ++terminal) {
    sources.push_back(
        {terminal_node(side, terminal), peak / std::sqrt(3.0) * phasor_at((1 - terminal) / 3.0)});
  }
  return sources;
}

double source_power(const PeriodicState& state, std::size_t number, const VoltageSource& source) {
  return (source.voltage * std::conj(state.source_current[number][1])).real() / 2;
}

CircuitTest open_circuit_test(const TransformerUnit& unit, Side side, double voltage,
                              double frequency) {
  return read(unit, unit_network(unit, kMeterResistance), side, voltage, frequency);
}

CircuitTest short_circuit_test(const TransformerUnit& unit, Side side, double current,
                               double frequency) {
  Network network = unit_network(unit, kMeterResistance);
  join_lines(network, unit, other_side(side));
  // The flux in the core is small, so the circuit is nearly linear.
  constexpr double kRightEnough = 1e-12;
  double voltage = 0.05 * unit.rated_voltage[side];
  CircuitTest test = read(unit, network, side, voltage, frequency);
  for (int round = 0; round < 8 && std::abs(test.current / current - 1) > kRightEnough; ++round) {
    voltage *= current / test.current;
    test = read(unit, network, side, voltage, frequency);
  }
  return test;
}

}  // namespace virtual_instrument

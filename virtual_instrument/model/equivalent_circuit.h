#pragma once

#include "virtual_instrument/model/transformer_unit.h"

// Computes a circuit from the readings of an open-circuit and a short-circuit test, and the
// readings from a unit.

namespace virtual_instrument {

/// The readings of one of these tests: line voltage and line current (their means in a three-phase
/// unit) and the power that the unit takes.
struct CircuitTest {
  Side side;       ///< the excited side
  double voltage;  ///< V, r.m.s.
  double current;  ///< A, r.m.s.
  double power;    ///< W
};

/// A single-phase transformer, or one phase of a unit: the core in parallel, the windings in
/// series. In ohm, seen from the high side.
struct EquivalentCircuit {
  double core_resistance;
  double magnetizing_reactance;
  double series_resistance;
  double series_reactance;
};

/// The circuit of a single-phase unit with this ratio of rated voltages, if the core alone decides
/// the open-circuit test and the windings alone the short-circuit test. Throws
/// std::invalid_argument if the power of a test exceeds the product of its voltage and current.
EquivalentCircuit equivalent_circuit(const CircuitTest& open_circuit,
                                     const CircuitTest& short_circuit, double ratio);

/// The data of a unit that its nameplate and the shape of its core give.
struct UnitPlate {
  WindingGroup group;
  double high_voltage;  ///< V
  double low_voltage;   ///< V
  double kva;
  double frequency;         ///< Hz
  double yoke_ratio;        ///< see Core
  double stray_share;       ///< of the winding resistance, see LimbWinding
  double hysteresis_share;  ///< of the core losses
};

/// A unit without saturation, faults and tap changer that has these readings in these tests; each
/// side has half of its series impedance. The tests are at rated frequency and 20 degrees C.
TransformerUnit unit_from_tests(const UnitPlate& plate, const CircuitTest& open_circuit,
                                const CircuitTest& short_circuit);

/// Excites one side with a (three-phase) voltage, the other side open.
CircuitTest open_circuit_test(const TransformerUnit& unit, Side side, double voltage,
                              double frequency);

/// Excites one side until `current` flows in its lines, all lines of the other side joined.
CircuitTest short_circuit_test(const TransformerUnit& unit, Side side, double current,
                               double frequency);

/// The sources that put a (three-phase, positive sequence) line voltage on a side.
std::vector<VoltageSource> balanced_sources(const TransformerUnit& unit, Side side,
                                            double line_voltage);

/// Power out of a source, in W; `number` is the index of the source.
double source_power(const PeriodicState& state, std::size_t number, const VoltageSource& source);

}  // namespace virtual_instrument

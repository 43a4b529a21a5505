#pragma once

#include <optional>
#include <string>

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/model/equivalent_circuit.h"

// A bench from what people have of a transformer: its nameplate alone, or the readings of its
// open-circuit and short-circuit tests as well.

namespace panel {

/// What is known of a unit. What is not is typical of an oil-filled unit of its power.
struct KnownUnit {
  std::string group_name;  ///< as a bench has it
  virtual_instrument::WindingGroup group;
  double high_voltage;  ///< V, from line to line
  double low_voltage;   ///< V
  double kva;
  double frequency;                 ///< Hz
  std::optional<double> impedance;  ///< percent, on the nameplate
  std::optional<virtual_instrument::CircuitTest> open_circuit;
  std::optional<virtual_instrument::CircuitTest> short_circuit;
  /// Ohm, direct current, of one phase as the resistance test reads it: line to neutral, or line to
  /// line without a neutral.
  std::optional<double> high_resistance;
  std::optional<double> low_resistance;
  double temperature;  ///< degrees C, of the windings in all of these tests
};

/// A problem with what is said of a unit, as a sentence for the person who said it.
struct UnitProblem {
  std::string text;
};

/// A bench whose tests read what is known, within a thousandth. Throws UnitProblem if no unit does.
virtual_instrument::Bench fitted_bench(const KnownUnit& unit);

/// That bench as the text of a file; each value has a comment that says where it comes from.
std::string bench_text(const KnownUnit& unit, const virtual_instrument::Bench& bench);

}  // namespace panel

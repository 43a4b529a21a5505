#include "panel/new_bench.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/model/index.h"

namespace panel {
namespace {

using virtual_instrument::Bench;
using virtual_instrument::CircuitTest;
using virtual_instrument::Side;
using virtual_instrument::TransformerSettings;
using virtual_instrument::TransformerUnit;

double line_root(const KnownUnit& unit) {
  return virtual_instrument::is_three_phase(unit.group.high) ? std::sqrt(3.0) : 1;
}

double rated_current(const KnownUnit& unit, Side side) {
  return unit.kva * 1000 /
         (line_root(unit) * (side == Side::high ? unit.high_voltage : unit.low_voltage));
}

// Losses of similar units grow with the three quarters of their power, exciting currents in percent
// shrink with its fourth root. The factors suit oil-filled distribution transformers.

CircuitTest typical_open_circuit(const KnownUnit& unit) {
  const double percent = 2.8 / std::sqrt(std::sqrt(unit.kva));
  return {Side::low, unit.low_voltage, rated_current(unit, Side::low) * percent / 100,
          9.5 * std::sqrt(unit.kva) * std::sqrt(std::sqrt(unit.kva))};
}

double typical_impedance(double kva) { return kva <= 630 ? 4 : kva <= 2500 ? 6 : 8; }

CircuitTest typical_short_circuit(const KnownUnit& unit) {
  const double percent = unit.impedance.value_or(typical_impedance(unit.kva));
  const double voltage = unit.high_voltage * percent / 100;
  const double current = rated_current(unit, Side::high);
  // Small units have more resistance than reactance, but never nothing else.
  const double losses = std::min(50 * std::sqrt(unit.kva) * std::sqrt(std::sqrt(unit.kva)),
                                 0.9 * line_root(unit) * voltage * current);
  return {Side::high, voltage, current, losses};
}

double apparent(const CircuitTest& test, const KnownUnit& unit) {
  return line_root(unit) * test.voltage * test.current;
}

void require_possible(const CircuitTest& test, const KnownUnit& unit, const char* name) {
  if (!(test.power < apparent(test, unit))) {
    throw UnitProblem{std::string("the ") + name +
                      " test has a power above the product of its voltage and current"};
  }
}

/// What the bench's unit reads in the two tests and in a resistance test.
class Readings {
 public:
  explicit Readings(const Bench& bench) : unit_(make_unit(bench)) {}

  CircuitTest open(const CircuitTest& like) const {
    return open_circuit_test(unit_, like.side, like.voltage, unit_.frequency);
  }
  CircuitTest shorted(const CircuitTest& like) const {
    return short_circuit_test(unit_, like.side, like.current, unit_.frequency);
  }
  double resistance(Side side) const {
    const auto settings = virtual_instrument::family_settings(unit_.frequency);
    return resistance_test(unit_, settings)
        .sides[virtual_instrument::index(side)][0]
        .points[0]
        .data.rm;
  }

 private:
  TransformerUnit unit_;
};

double reactive(const CircuitTest& test, const KnownUnit& unit) {
  const double whole = apparent(test, unit);
  return std::sqrt(std::max(whole * whole - test.power * test.power, 0.0));
}

/// Adjusts the bench, one value for each reading, until all readings fit.
class Fit {
 public:
  Fit(const KnownUnit& unit, Bench& bench)
      : unit_(unit),
        open_(unit.open_circuit.value_or(typical_open_circuit(unit))),
        short_(unit.short_circuit.value_or(typical_short_circuit(unit))),
        bench_(bench),
        settings_(bench.transformer) {
    require_possible(open_, unit, "open-circuit");
    require_possible(short_, unit, "short-circuit");
  }

  void run() {
    begin();
    for (int round = 0; round < 60; ++round) {
      worst_ = 0;
      fit_resistances();
      fit_short_circuit();
      fit_open_circuit();
      if (worst_ < 1e-6) {
        return;
      }
    }
    if (worst_ > 1e-3) {
      throw UnitProblem{"no unit has these readings; the nearest one is " +
                        std::to_string(std::lround(worst_ * 100)) + " percent off"};
    }
  }

 private:
  /// From the equivalent circuit of the plain unit, which has no curve of the core yet.
  void begin() {
    const TransformerUnit plain =
        unit_from_tests({unit_.group, unit_.high_voltage, unit_.low_voltage, unit_.kva,
                         unit_.frequency, settings_.yoke_ratio, 0, settings_.hysteresis_share},
                        open_, short_);
    const double omega = 2 * std::numbers::pi * unit_.frequency;
    settings_.high_resistance = plain.windings[Side::high].resistance;
    settings_.low_resistance = plain.windings[Side::low].resistance;
    settings_.high_reactance = plain.windings[Side::high].leakage_inductance * omega;
    settings_.low_reactance = plain.windings[Side::low].leakage_inductance * omega;
    settings_.core_resistance = 1 / plain.core.limb.core_conductance;
    settings_.magnetizing_reactance = plain.core.limb.inductance * omega;
    settings_.saturated_reactance = settings_.magnetizing_reactance / 500;
  }

  /// The factor by which a value must change if the reading is in proportion to it.
  double factor(double wanted, double reading) {
    const double ratio = wanted / reading;
    worst_ = std::max(worst_, std::abs(ratio - 1));
    return std::clamp(ratio, 0.2, 5.0);
  }

  void fit_resistances() {
    const Readings readings(bench_);
    if (unit_.high_resistance) {
      settings_.high_resistance *= factor(*unit_.high_resistance, readings.resistance(Side::high));
    }
    if (unit_.low_resistance) {
      settings_.low_resistance *= factor(*unit_.low_resistance, readings.resistance(Side::low));
    }
  }

  void fit_short_circuit() {
    const CircuitTest reading = Readings(bench_).shorted(short_);
    const double losses = factor(short_.power, reading.power);
    if (unit_.high_resistance && unit_.low_resistance) {
      // Direct current has its reading; what is left of the losses are eddies.
      settings_.stray_share = (1 + settings_.stray_share) * losses - 1;
      if (settings_.stray_share < 0) {
        throw UnitProblem{"the short-circuit test has less power than the resistances take"};
      }
    } else {
      settings_.high_resistance *= unit_.high_resistance ? 1 : losses;
      settings_.low_resistance *= unit_.low_resistance ? 1 : losses;
    }
    const double reactance = factor(reactive(short_, unit_), reactive(reading, unit_));
    settings_.high_reactance *= reactance;
    settings_.low_reactance *= reactance;
  }

  void fit_open_circuit() {
    const CircuitTest reading = Readings(bench_).open(open_);
    settings_.core_resistance /= factor(open_.power, reading.power);
    const double current = factor(reactive(open_, unit_), reactive(reading, unit_));
    settings_.magnetizing_reactance /= current;
    settings_.saturated_reactance /= current;
  }

  const KnownUnit& unit_;
  const CircuitTest open_;
  const CircuitTest short_;
  Bench& bench_;
  TransformerSettings& settings_;
  double worst_ = 0;
};

}  // namespace

Bench fitted_bench(const KnownUnit& unit) {
  Bench bench = virtual_instrument::built_in_bench();
  TransformerSettings& settings = bench.transformer;
  settings.vector_group = unit.group;
  settings.high_voltage = unit.high_voltage;
  settings.low_voltage = unit.low_voltage;
  settings.kva = unit.kva;
  settings.impedance = unit.impedance.value_or(0);
  settings.frequency = unit.frequency;
  settings.stray_share = 0;
  settings.reference_temperature = unit.temperature;
  settings.temperature = unit.temperature;
  Fit(unit, bench).run();
  return bench;
}

}  // namespace panel

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/index.h"
#include "virtual_instrument/vocabulary/text_field.h"

namespace virtual_instrument {
namespace {

/// A reading counts as settled when this fraction of the change remains.
constexpr double kSettled = 1e-4;

std::uint32_t milliseconds(double seconds) {
  // A long has 32 bits on Windows.
  return static_cast<std::uint32_t>(std::llround(std::min(seconds, 4e6) * 1000));
}

double natural_logarithm_of_settled() {
  // Solves exponential(-x) = kSettled by Newton's method: the C library's logarithm differs between
  // platforms.
  double x = 9;
  for (int round = 0; round < 8; ++round) {
    x += exponential(-x) / kSettled - 1;
  }
  return x;
}

/// A pair of terminals on a source of direct current.
struct DirectCircuit {
  double resistance;     ///< ohm
  double current;        ///< A, once settled
  double charging_time;  ///< s, until the core is saturated
  double time_constant;  ///< s, of the current after that
};

DirectCircuit direct_circuit(const TransformerUnit& unit, const FamilySettings& settings, Side side,
                             TerminalPair pair) {
  const Network network = unit_network(unit, kInputResistance);
  DirectCircuit circuit{};
  circuit.resistance =
      dc_resistance(network, terminal_node(side, pair.plus), terminal_node(side, pair.minus));
  // A tenth of the rated current saturates the core and doesn't warm the winding.
  circuit.current = std::min({settings.direct_current, 0.1 * rated_current(unit, side),
                              settings.direct_voltage / circuit.resistance});
  const auto turns = turns_between(unit_windings(unit)[side], pair).value();
  const double relative = side == Side::high ? 1 : 1 / turns_ratio(unit);
  const double pair_turns =
      (std::abs(turns[0]) + std::abs(turns[1]) + std::abs(turns[2])) * relative;
  const MagnetizingBranch& limb = unit.core.limb;
  const bool saturates = std::isfinite(limb.knee_flux);
  const double inductance =
      (saturates ? limb.saturated_inductance : limb.inductance) * pair_turns * pair_turns;
  circuit.charging_time = saturates ? limb.knee_flux * pair_turns / settings.direct_voltage : 0;
  circuit.time_constant = inductance / circuit.resistance;
  return circuit;
}

class Bridge {
 public:
  explicit Bridge(const FamilySettings& settings) : settings_(settings), noise_(settings.seed) {}

  /// A reading `seconds` after the source was switched on.
  ResistancePoint read(const DirectCircuit& circuit, const std::string& name, double seconds) {
    const double settling = std::max(0.0, seconds - circuit.charging_time);
    const double left = exponential(-std::min(settling / circuit.time_constant, 600.0));
    ResistancePoint point{};
    fill_field(point.data.name, name);
    // While the current settles, part of the voltage still builds up flux.
    const double voltage = noisy(circuit.current * circuit.resistance * (1 + left));
    const double current = noisy(circuit.current);
    point.data.ua = static_cast<float>(voltage);
    point.data.ia = static_cast<float>(current);
    point.data.ii = static_cast<float>(circuit.current);
    point.data.stability = static_cast<float>(left * 100);
    point.data.rm = voltage / current;
    point.data.stabilization_ms = milliseconds(seconds);
    point.data.state = seconds < circuit.charging_time ? KVR_POINT_CHARGING
                       : left > kSettled * (1 + 1e-9)  ? KVR_POINT_STABILIZING
                                                       : KVR_POINT_STABLE;
    return point;
  }

 private:
  double noisy(double value) {
    const double samples = static_cast<double>(settings_.measurement.samples_per_period) *
                           settings_.measurement.periods;
    return value * (1 + settings_.measurement.noise / 100 / std::sqrt(samples) * noise_.next());
  }

  const FamilySettings& settings_;
  Noise noise_;
};

double settling_time(const DirectCircuit& circuit) {
  return circuit.charging_time + natural_logarithm_of_settled() * circuit.time_constant;
}

/// The tap's position on the side of the tap changer; 1 on the other.
int position_on(const TransformerUnit& unit, Side side) {
  return side == unit.taps.side ? unit.taps.position : 1;
}

ResistanceTap read_tap(const TransformerUnit& unit, const FamilySettings& settings, Side side,
                       Bridge& bridge, double& seconds) {
  ResistanceTap tap{position_on(unit, side), {}};
  for (const TerminalPair& pair : phase_pairs(unit, side)) {
    const DirectCircuit circuit = direct_circuit(unit, settings, side, pair);
    tap.points.push_back(
        bridge.read(circuit, pair_name(side, pair, unit.pair), settling_time(circuit)));
    seconds += settling_time(circuit);
  }
  return tap;
}

}  // namespace

ResistanceTest resistance_test(const TransformerUnit& unit, const FamilySettings& settings) {
  Bridge bridge(settings);
  ResistanceTest test{};
  double seconds = 0;
  TransformerUnit stepped = unit;
  for (const Side side : kSides) {
    const bool has_taps = unit.taps.type != KVR_TAP_CHANGER_NONE && side == unit.taps.side;
    const int first = has_taps ? unit.taps.first : unit.taps.position;
    const int last = has_taps ? unit.taps.last : unit.taps.position;
    for (int position = first; position <= last; ++position) {
      stepped.taps.position = position;
      ResistanceTap tap = read_tap(stepped, settings, side, bridge, seconds);
      // Only for a changer that works under load does the test record the transition.
      if (position > first && unit.taps.type == KVR_TAP_CHANGER_OLTC) {
        tap.points.front().transition =
            kvr_TestData_Transition{KVR_RES_OK, position - 1, position, {}};
      }
      test.sides[winding_index(unit.pair, side)].push_back(tap);
    }
    stepped.taps.position = unit.taps.position;
  }
  test.duration_ms = milliseconds(seconds);
  return test;
}

ResistanceTest continuous_resistance_test(const TransformerUnit& unit,
                                          const FamilySettings& settings, int count,
                                          double interval) {
  Bridge bridge(settings);
  const TerminalPair pair = phase_pairs(unit, Side::high).front();
  const DirectCircuit circuit = direct_circuit(unit, settings, Side::high, pair);
  const std::string name = pair_name(Side::high, pair, unit.pair);
  ResistanceTap tap{position_on(unit, Side::high), {}};
  for (int number = 1; number <= count; ++number) {
    tap.points.push_back(bridge.read(circuit, name, number * interval));
  }
  ResistanceTest test{};
  test.duration_ms = milliseconds(count * interval);
  test.sides[winding_index(unit.pair, Side::high)].push_back(tap);
  return test;
}

double temperature_at(const CoolingCurve& curve, double seconds) {
  return curve.ambient + curve.rise * exponential(-seconds / curve.time_constant);
}

ResistanceTest heat_run_test(TransformerUnit unit, const FamilySettings& settings,
                             const CoolingCurve& curve, int count, double interval) {
  Bridge bridge(settings);
  ResistanceTest test{milliseconds(count * interval), {}};
  for (const Side side : kSides) {
    const TerminalPair pair = phase_pairs(unit, side).front();
    ResistanceTap tap{position_on(unit, side), {}};
    for (int number = 1; number <= count; ++number) {
      unit.temperature = temperature_at(curve, number * interval);
      // The source was on before the first reading, so only the temperature still changes.
      const DirectCircuit circuit = direct_circuit(unit, settings, side, pair);
      ResistancePoint point =
          bridge.read(circuit, pair_name(side, pair, unit.pair), settling_time(circuit) * 2);
      point.data.state = KVR_POINT_AUTO_SAVED;
      point.data.stabilization_ms = milliseconds(number * interval);
      tap.points.push_back(point);
    }
    test.sides[winding_index(unit.pair, side)].push_back(tap);
  }
  return test;
}

}  // namespace virtual_instrument

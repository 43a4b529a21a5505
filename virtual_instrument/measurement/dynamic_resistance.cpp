#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/unit_waveforms.h"

namespace virtual_instrument {
namespace {

/// The resistors in the circuit while a diverter moves: the first one, both in parallel, the second
/// one, then none at the next tap.
struct ContactStep {
  double until_ms;
  double resistors;  ///< in units of one resistor
};

constexpr std::array<ContactStep, 3> kContactSteps{{{18, 1.0}, {26, 0.5}, {44, 1.0}}};

constexpr double kPauseMs = 200;  ///< on each tap before the next step
constexpr double kSampleMs = 0.1;
constexpr double kDip = 0.99;  ///< of the settled current; less is a transition

double transition_resistance(const TransformerUnit& unit, double ms) {
  for (const ContactStep& step : kContactSteps) {
    if (ms < step.until_ms) {
      return step.resistors * unit.taps.transition_resistance;
    }
  }
  return 0;
}

double tap_resistance(TransformerUnit unit, int position) {
  unit.taps.position = position;
  const Side side = unit.taps.side;
  const TerminalPair pair = phase_pairs(unit, side).front();
  return dc_resistance(unit_network(unit, kInputResistance), terminal_node(side, pair.plus),
                       terminal_node(side, pair.minus));
}

/// Direct current through phase A of the side with the tap changer, with the other side's lines
/// joined, so that only leakage slows it down.
struct Loop {
  double inductance;  ///< H
  double source;      ///< ohm, in series with the unit
  double voltage;     ///< V
};

Loop loop_of(const TransformerUnit& unit, const FamilySettings& settings) {
  const Side side = unit.taps.side;
  const double resistance = tap_resistance(unit, unit.taps.position);
  const double other = unit.windings[other_side(side)].leakage_inductance;
  const double turns = side == Side::high ? turns_ratio(unit) : 1 / turns_ratio(unit);
  Loop loop{};
  loop.inductance = unit.windings[side].leakage_inductance + other * turns * turns;
  loop.voltage = settings.direct_voltage;
  loop.source = std::max(0.0, settings.direct_voltage / settings.direct_current - resistance);
  return loop;
}

/// One step of the current over kSampleMs, by the exact solution of a constant circuit.
double next_current(double current, const Loop& loop, double resistance) {
  const double total = loop.source + resistance;
  const double settled = loop.voltage / total;
  return settled + (current - settled) *
                       exponential(-std::fmin(kSampleMs / 1000 * total / loop.inductance, 600));
}

/// The record counts whole milliseconds.
std::uint32_t whole_ms(double ms) { return static_cast<std::uint32_t>(std::lround(ms)); }

}  // namespace

DynamicResistanceTest dynamic_resistance_test(const TransformerUnit& unit,
                                              const FamilySettings& settings) {
  DynamicResistanceTest test{KVR_RES_OLTC_TAPCHANGER_MISSING, {}, {}};
  if (unit.taps.type != KVR_TAP_CHANGER_OLTC) {
    return test;
  }
  test.code = KVR_RES_OK;
  const Loop loop = loop_of(unit, settings);
  double resistance = tap_resistance(unit, unit.taps.first);
  double current = loop.voltage / (loop.source + resistance);
  double begun_ms = kPauseMs;
  for (int position = unit.taps.first + 1; position <= unit.taps.last; ++position) {
    const double next = tap_resistance(unit, position);
    const double threshold = kDip * loop.voltage / (loop.source + std::max(resistance, next));
    std::optional<double> start;
    double end = 0;
    const int samples = static_cast<int>(kPauseMs / kSampleMs);
    for (int sample = 1; sample <= samples; ++sample) {
      const double ms = sample * kSampleMs;
      const double bridged = transition_resistance(unit, ms - kSampleMs);
      current = next_current(current, loop, (bridged > 0 ? resistance : next) + bridged);
      if (current < threshold) {
        start = start.value_or(ms);
        end = ms;
      }
    }
    if (start) {
      kvr_TestData_Drm_Transition transition{};
      transition.start_time = whole_ms(begun_ms + *start);
      transition.end_time = whole_ms(begun_ms + end);
      test.transitions.push_back(transition);
    }
    resistance = next;
    begun_ms += kPauseMs;
  }
  test.data.transition_count = static_cast<std::uint32_t>(test.transitions.size());
  return test;
}

}  // namespace virtual_instrument

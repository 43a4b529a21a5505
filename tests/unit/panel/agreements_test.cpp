#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <numbers>
#include <sstream>
#include <string_view>

#include "support/sweep_stride.h"
#include "unit/panel/bench_figures.h"
#include "unit/virtual_instrument/bench/random_benches.h"

// Figures of different tests on one bench agree with each other. Each agreement says what physics
// allows it to differ by; the figures have no noise. Where a fault or an extra part of the unit
// makes two tests measure different circuits, the agreement passes that bench over.

namespace {

using virtual_instrument::is_three_phase;
using virtual_instrument::ResistancePoint;
using virtual_instrument::ResistanceTap;
using virtual_instrument::ResistanceTest;
using virtual_instrument::Side;
using virtual_instrument::SinglePhaseRatio;
using virtual_instrument::ThreePhaseRatio;

/// Records hold most figures as `float`, with a relative error of 6e-8. Some agreements add and
/// multiply several of these.
constexpr double kRounding = 1e-6;

/// The voltage of a request is such a `float` too, and near saturation the square of the exciting
/// current grows with the 30th power of it or more.
constexpr double kSteep = 5e-6;

/// Ohm, of each of the two jumpers that join the low side's lines, and of the one between the
/// neutrals of an autotransformer.
constexpr double kJumper = 1e-6;

/// S, of each input of the instrument.
constexpr double kInput = 1e-9;

/// The comparisons of one agreement.
class Comparison {
 public:
  explicit Comparison(const std::string& bench) : bench_(&bench) {}

  /// Whether a figure differs from the expected one by at most this fraction of it.
  void near(double figure, double expected, double tolerance) {
    within(figure - expected, tolerance * std::abs(expected), [&](std::ostream& out) {
      out << figure << " instead of " << expected << ", allowed " << tolerance;
    });
    deviation_ = std::max(deviation_, figure == expected ? 0 : std::abs(figure / expected - 1));
  }

  /// The same for figures that faults can make vanish, of this scale.
  void near(double figure, double expected, double tolerance, double scale) {
    near(1 + figure / scale, 1 + expected / scale, tolerance / (1 + expected / scale));
  }

  void at_most(double figure, double limit) {
    within(std::max(figure, 0.0), limit,
           [&](std::ostream& out) { out << figure << " above " << limit; });
    deviation_ = std::max(deviation_, figure);
  }

  void holds(bool truth, const std::string& what) {
    within(truth ? 0 : 2, 1, [&](std::ostream& out) { out << what; });
  }

  std::size_t count() const { return count_; }
  double share() const { return share_; }          ///< the worst, of what is allowed
  double deviation() const { return deviation_; }  ///< the greatest

 private:
  template <typename Explain>
  void within(double difference, double allowed, Explain explain) {
    ++count_;
    const double share = difference == 0 ? 0 : std::abs(difference) / allowed;
    share_ = std::max(share_, share);
    if (!(share <= 1)) {  // also without a number
      std::ostringstream words;
      explain(words);
      ADD_FAILURE() << words.str() << "\n" << *bench_;
    }
  }

  const std::string* bench_;
  std::size_t count_ = 0;
  double share_ = 0;
  double deviation_ = 0;
};

// --- What the records and the nameplate say -----------------------------------------------------

bool is_three_phase_unit(const BenchFigures& f) { return is_three_phase(f.unit.group.high); }

int phases_of(const BenchFigures& f) { return is_three_phase_unit(f) ? 3 : 1; }

/// Whether windings have the turns and the direction of the nameplate.
bool has_sound_windings(const BenchFigures& f) {
  const auto& faults = f.unit.faults;
  const auto has_reversed = [](const auto& flags) {
    return std::any_of(flags.begin(), flags.end(), [](bool flag) { return flag; });
  };
  return faults.shorted_turns.empty() &&
         std::none_of(faults.reversed_winding.begin(), faults.reversed_winding.end(), has_reversed);
}

bool has_burden(const BenchFigures& f) {
  return f.bench.burden.resistance > 0 || f.bench.burden.reactance > 0;
}

bool has_source_impedance(const BenchFigures& f) {
  return f.bench.instrument.source_resistance > 0 || f.bench.instrument.source_inductance > 0;
}

bool has_open_lead(const BenchFigures& f) {
  return std::any_of(
      f.unit.faults.open_lead.begin(), f.unit.faults.open_lead.end(), [](const auto& leads) {
        return std::any_of(leads.begin(), leads.end(), [](bool open) { return open; });
      });
}

double test_voltage(const BenchFigures& f) { return f.settings.family.test_voltage; }

/// Growth of the resistance of the bench's metal.
double heating(const BenchFigures& f, double from, double to) {
  const double zero = f.bench.transformer.conductor.zero;
  return (zero + to) / (zero + from);
}

const kvr_TestData_Impedance_SingleTest& short_circuit(const BenchFigures& f) {
  return f.impedance.tests.front();
}

/// The part of a short-circuit current that capacitance between the windings can take, or add: of
/// four terminals.
double capacitive_share(const BenchFigures& f) {
  return 4 * 2 * std::numbers::pi * f.unit.frequency * f.unit.winding_capacitance *
         short_circuit(f).phases[0].z;
}

/// Impedance between two lines with the low side shorted, over that with the low side open: the
/// part of the short-circuit current that the core takes. In the short circuit of an
/// autotransformer the core's impedance is that of the series winding's turns alone.
double core_share(const BenchFigures& f) {
  const double open = f.excitation_1ph.phase.voltage_rms / f.excitation_1ph.phase.current_rms;
  const double ratio = short_circuit(f).phases[0].v_ratio;
  const double turns = f.unit.is_autotransformer ? 1 - 1 / ratio : 1;
  return short_circuit(f).phases[0].z / open / (turns * turns) + capacitive_share(f);
}

/// A reading is too high by what was left of the change: its stability.
double settled(const ResistancePoint& point) {
  return point.data.rm / (1 + point.data.stability / 100.0);
}

/// The points of a side at the present tap.
const std::vector<ResistancePoint>& present_points(const ResistanceTest& test,
                                                   const BenchFigures& f, Side side) {
  const std::vector<ResistanceTap>& taps = test.sides[side == Side::high ? 0 : 1];
  const auto present = std::find_if(taps.begin(), taps.end(), [&f](const ResistanceTap& tap) {
    return tap.tap == f.unit.taps.position;
  });
  return taps.size() == 1 ? taps.front().points : present->points;
}

/// What the resistance test finds between two lines, if need be on both ways to the neutral.
double line_resistance(const BenchFigures& f, Side side, int plus, int minus) {
  const auto read = [&](virtual_instrument::TerminalPair pair) -> std::optional<double> {
    for (const ResistancePoint& point : present_points(f.resistance, f, side)) {
      if (point.data.name == pair_name(side, pair) ||
          point.data.name == pair_name(side, {pair.minus, pair.plus})) {
        return settled(point);
      }
    }
    return std::nullopt;
  };
  const auto direct = read({plus, minus});
  return direct ? *direct : read({plus, 0}).value() + read({minus, 0}).value();
}

/// Resistance to direct current between two lines of the high side, that of the low side included.
double copper_between(const BenchFigures& f, const char* high_pair) {
  const double high = line_resistance(f, Side::high, high_pair[1] - '0', high_pair[4] - '0');
  const double low = line_resistance(f, Side::low, 1, 2);
  const double ratio = short_circuit(f).phases[0].v_ratio;
  // The low winding of an autotransformer is a part of the high one.
  return f.unit.is_autotransformer ? high - low + (ratio - 1) * (ratio - 1) * low
                                   : high + ratio * ratio * low;
}

/// What the jumpers add to that, as a fraction.
double jumper_share(const BenchFigures& f) {
  const double ratio = short_circuit(f).phases[0].v_ratio;
  const double between = copper_between(f, short_circuit(f).phases[0].high_side_phase);
  return 2 * kJumper * ratio * ratio / between;
}

/// A burden lies in parallel to the winding whose resistance is read.
double burden_share(const BenchFigures& f) {
  const double burden = f.bench.burden.resistance;
  return burden > 0 ? 2 * line_resistance(f, Side::low, 1, 2) / burden : 0;
}

/// Impedances of the equivalent star between two lines.
double stars(const BenchFigures& f) { return is_three_phase_unit(f) ? 2 : 1; }

// --- Agreements ---------------------------------------------------------------------------------

/// The parts of an impedance belong together: what the record says twice differs by its rounding.
void parts_of_impedance(const BenchFigures& f, Comparison& compare) {
  const double rated = f.bench.transformer.high_voltage;
  const double base = rated * rated / (f.bench.transformer.kva * 1000);
  for (const auto* tests : {&f.impedance.tests, &f.stray_loss.tests}) {
    for (const kvr_TestData_Impedance_SingleTest& test : *tests) {
      double z_percent = 0;
      for (int phase = 0; phase < phases_of(f); ++phase) {
        const kvr_TestData_Impedance_Phase& part = test.phases[phase];
        compare.near(part.z, std::hypot(part.rs, part.xs), kRounding);
        compare.near(part.power_factor, part.rs / part.z * 100, kRounding);
        compare.near(part.inductance, part.xs / (2 * std::numbers::pi * part.test_frequency),
                     kRounding);
        compare.near(part.z_percent, part.z / stars(f) / base * 100, kRounding);
        z_percent += part.z_percent / phases_of(f);
      }
      compare.near(test.avg_z_percent, z_percent, kRounding);
    }
  }
}

/// The part of the short-circuit resistance that does not depend on frequency is that of the
/// windings to direct current. The core lies in parallel to a part of it and takes
/// its share twice, in voltage and current; the jumpers add theirs.
void copper_is_the_windings_resistance(const BenchFigures& f, Comparison& compare) {
  if (!has_sound_windings(f)) {
    return;  // shorted turns carry current in a short circuit, but no direct current
  }
  const double hot = heating(f, f.unit.temperature, f.settings.family.corrected_to);
  for (int phase = 0; phase < phases_of(f); ++phase) {
    const double expected =
        copper_between(f, short_circuit(f).phases[phase].high_side_phase) * hot / stars(f);
    compare.near(f.efficiency.phases[phase].load_rs_zero, expected,
                 2 * core_share(f) + jumper_share(f) + burden_share(f) + kRounding);
  }
}

/// Load losses are those of the rated current in the resistance of the impedance test, and their
/// parts add up.
void losses_are_those_of_the_impedance(const BenchFigures& f, Comparison& compare) {
  const double power = f.bench.transformer.kva * 1000;
  const double current =
      power / f.bench.transformer.high_voltage / (is_three_phase_unit(f) ? std::numbers::sqrt3 : 1);
  double load = 0;
  double no_load = 0;
  for (int phase = 0; phase < phases_of(f); ++phase) {
    const kvr_TestData_Efficiency_Phase& part = f.efficiency.phases[phase];
    compare.near(part.load_losses, current * current * short_circuit(f).phases[phase].rs / stars(f),
                 kRounding);
    compare.near(part.load_i2r + part.load_stray_eddy, part.load_losses, kRounding);
    compare.near(part.load_rs_line, short_circuit(f).phases[phase].rs / stars(f), kRounding);
    compare.near(part.total_losses, part.load_losses + part.no_load_losses, kRounding);
    load += part.load_losses;
    no_load += part.no_load_losses;
  }
  compare.near(f.efficiency.total_load_losses, load, kRounding);
  compare.near(f.efficiency.total_no_load_losses, no_load, kRounding);
  compare.near(f.efficiency.total_losses, load + no_load, kRounding);
  compare.near(f.efficiency.efficiency_percent, power / (power + load + no_load) * 100, kRounding);
}

/// Stray losses grow with the square of the frequency and fall as the metal grows warmer; copper
/// losses do the opposite. So the readings at line frequency and half of it give the impedance
/// test's corrected resistance. The reading at twice the frequency follows from them but for what
/// the core takes of the impedance.
void impedance_follows_from_the_stray_loss_response(const BenchFigures& f, Comparison& compare) {
  const double hot = heating(f, f.unit.temperature, f.settings.family.corrected_to);
  for (int phase = 0; phase < phases_of(f); ++phase) {
    const auto at = [&](std::size_t test) { return f.stray_loss.tests[test].phases[phase]; };
    const double copper = (4.0 * at(0).rs - at(1).rs) / 3;
    const double stray = at(1).rs - copper;
    const kvr_TestData_Impedance_Phase& line = short_circuit(f).phases[phase];
    compare.near(line.rs, copper * hot + stray / hot, kRounding);
    compare.near(line.xs, at(1).xs, kRounding);
    if (has_sound_windings(f)) {  // the current of shorted turns changes with the frequency
      compare.near(at(2).rs, copper + 4 * stray, kRounding + core_share(f) * at(2).z / at(2).rs);
    }
  }
}

/// Leakage has the same inductance at each frequency and in each phase but for what the core takes
/// of either impedance.
void leakage_is_the_same_everywhere(const BenchFigures& f, Comparison& compare) {
  if (!has_sound_windings(f) || short_circuit(f).phases[0].inductance == 0) {
    return;  // the current of shorted turns changes with the frequency
  }
  const double expected = short_circuit(f).phases[0].inductance;
  const double taken = core_share(f) * short_circuit(f).phases[0].z / short_circuit(f).phases[0].xs;
  for (int phase = 0; phase < phases_of(f); ++phase) {
    for (const kvr_TestData_Impedance_SingleTest& test : f.stray_loss.tests) {
      compare.near(test.phases[phase].inductance, expected, 2 * taken + kRounding);
    }
  }
}

/// A ratio test on the same terminals at the same voltage is the same circuit. With the terminals
/// in the other order the other one is earthed, and the inputs of the others take other currents:
/// up to that of four inputs at this voltage. Capacitance between the windings would do the same.
void ratio_draws_the_exciting_current(const BenchFigures& f, Comparison& compare) {
  const auto same = [&](const kvr_TestData_Ratio_Phase& a, const kvr_TestData_Ratio_Phase& b) {
    const bool in_order = std::string_view(a.high_side_phase) == b.high_side_phase;
    if (!in_order && f.bench.transformer.winding_capacitance > 0) {
      return;
    }
    const double inputs = in_order ? 0 : 4 * kInput * a.voltage_rms / a.current_rms;
    compare.near(a.current_rms, b.current_rms, kRounding + inputs);
    compare.near(a.curr_h, b.curr_h, kRounding + inputs);
    const double low = a.voltage_rms / short_circuit(f).phases[0].v_ratio;
    compare.near(a.voltage_h, b.voltage_h, kRounding + inputs);
    compare.near(a.voltage_x, b.voltage_x, kRounding + inputs, low);
    compare.near(a.vol_rms_low, b.vol_rms_low, kRounding + inputs, low);
    compare.at_most(std::abs(a.efi - b.efi), kRounding + inputs);
  };
  if (f.first_pair.code == KVR_RES_OK) {
    same(f.excitation_1ph.phase, f.first_pair.data.phase);
  }
  for (std::size_t phase = 0; phase < 3; ++phase) {
    if (f.phases[phase] && f.phases[phase]->code == KVR_RES_OK) {
      same(f.excitation->data.phases[phase], f.phases[phase]->data.phase);
    }
  }
}

/// The most by which the impedance of the windings lowers a voltage, as a fraction. In an
/// autotransformer the short circuit shows the common winding's only in part.
double drop_share(const BenchFigures& f, double current, double voltage) {
  const double ratio = short_circuit(f).phases[0].v_ratio;
  const double shown = f.unit.is_autotransformer ? std::min(1.0, (ratio - 1) * (ratio - 1)) : 1;
  return current * short_circuit(f).phases[0].z / shown / voltage + capacitive_share(f);
}

/// Measured ratios are that of the turns but for the drop of the exciting current, and of a
/// burden's, in the windings.
void ratios_are_those_of_the_turns(const BenchFigures& f, Comparison& compare) {
  if (!has_sound_windings(f)) {
    return;
  }
  const double turns = f.efficiency.phases[0].ratio_tnr;
  const double z_ratio = short_circuit(f).phases[0].v_ratio;
  compare.near(z_ratio * turns_factor(f.unit.group), turns, kRounding);
  const auto compare_phase = [&](const kvr_TestData_Ratio_Phase& phase) {
    if (phase.status == KVR_RES_OK) {
      compare.near(phase.tnr, turns,
                   kRounding + drop_share(f, phase.current_rms, phase.voltage_rms));
    }
  };
  if (f.rated_1ph) {
    compare_phase(f.excitation_1ph.phase);
    if (f.rated_1ph->code == KVR_RES_OK) {
      compare_phase(f.rated_1ph->data.phase);
    }
  }
  for (int phase = 0; f.excitation && phase < 3; ++phase) {
    compare_phase(f.excitation->data.phases[phase]);
  }
  if (f.rated && f.rated->code == KVR_RES_OK) {
    const kvr_TestData_Ratio_Phase& phase = f.rated->data.phases[0];
    compare.near(f.rated->data.ratio_3ph, turns,
                 kRounding + 2 * drop_share(f, phase.current_rms, phase.voltage_rms));
  }
}

/// Power of the fundamental that a phase takes from a source, and what its current heats.
struct Taken {
  double power = 0;
  double square_current = 0;
};

std::optional<Taken> taken_at_rated_voltage(const BenchFigures& f) {
  Taken taken;
  const auto add = [&taken](const kvr_TestData_Ratio_Phase& phase, double voltage) {
    taken.power += voltage * phase.curr_h * std::cos(phase.efi);
    taken.square_current += static_cast<double>(phase.current_rms) * phase.current_rms;
  };
  if (f.rated_1ph) {
    add(f.rated_1ph->data.phase, f.rated_1ph->data.phase.voltage_h);
    return f.rated_1ph->code == KVR_RES_OK ? std::optional(taken) : std::nullopt;
  }
  for (const kvr_TestData_Ratio_Phase& phase : f.rated->data.phases) {
    add(phase, phase.voltage_h / std::numbers::sqrt3);
  }
  return f.rated->code == KVR_RES_OK ? std::optional(taken) : std::nullopt;
}

/// No-load losses are the power that the unit takes in a ratio test at rated voltage; the part in
/// the high winding is that of its current in the resistance test's figure. At the measured
/// temperature: the eddy losses are V2/R with the measured eddy resistance. With a source of some
/// impedance the voltage has harmonics, which carry power of their own. Faults make the source
/// shift power from one line to another, so that parts can be greater than their sum.
void no_load_losses_are_the_power_of_the_ratio_test(const BenchFigures& f, Comparison& compare) {
  const std::optional<Taken> taken = taken_at_rated_voltage(f);
  if (!taken || has_source_impedance(f)) {
    return;
  }
  const double voltage =
      f.bench.transformer.high_voltage / (is_three_phase_unit(f) ? std::numbers::sqrt3 : 1);
  double power = 0;
  double copper = 0;
  double scale = 0;
  for (int phase = 0; phase < phases_of(f); ++phase) {
    const kvr_TestData_Efficiency_Phase& part = f.efficiency.phases[phase];
    const double eddies = voltage * voltage / part.noload_eddy_resistance_measured;
    power += part.hysteresis + eddies + part.i2r_no_load;
    copper += part.i2r_no_load;
    const double sizes = std::abs(part.hysteresis) + std::abs(eddies) + part.i2r_no_load;
    compare.near(part.hysteresis + part.eddy_current + part.i2r_no_load, part.no_load_losses,
                 kRounding, sizes);
    scale += sizes;
  }
  compare.near(power, taken->power, kSteep, scale);
  const char* const pair = short_circuit(f).phases[0].high_side_phase;
  const double resistance = line_resistance(f, Side::high, pair[1] - '0', pair[4] - '0') / stars(f);
  compare.near(copper, taken->square_current * resistance, kSteep + 2 * kJumper / resistance);
}

/// While a winding cools, its resistance follows its temperature: (zero + t2) / (zero + t1). A
/// burden lies in parallel to the low winding, which may be a part of the high one, and stays as
/// cold as it is; so does the jumper of an autotransformer.
void heat_run_follows_the_temperature(const BenchFigures& f, Comparison& compare) {
  const panel::Settings& settings = f.settings;
  for (const Side side : virtual_instrument::kSides) {
    const double cold = settled(present_points(f.resistance, f, side).front());
    double others = kRounding;
    if (side == Side::low || f.unit.is_autotransformer) {
      others += burden_share(f) + (f.unit.is_autotransformer ? kJumper / cold : 0);
    }
    double seconds = 0;
    for (const ResistancePoint& point : present_points(f.heat_run, f, side)) {
      seconds += settings.interval;
      const double temperature =
          settings.cooling.ambient +
          settings.cooling.rise * std::exp(-seconds / settings.cooling.time_constant);
      compare.near(settled(point), cold * heating(f, f.unit.temperature, temperature), others);
    }
  }
}

/// Without what was left of the change, one reading after the other is the resistance.
void continuous_readings_settle_at_the_resistance(const BenchFigures& f, Comparison& compare) {
  const double expected = settled(present_points(f.resistance, f, Side::high).front());
  double last = std::numeric_limits<double>::infinity();
  for (const ResistancePoint& point : present_points(f.continuous, f, Side::high)) {
    compare.near(settled(point), expected, kRounding);
    compare.near(point.data.ua / point.data.ia, point.data.rm, kRounding);
    compare.holds(point.data.rm <= last, "a reading rises while the current settles");
    last = point.data.rm;
  }
}

/// Each step of an on-load tap changer that the resistance test records is one transition, if the
/// resistors dip the current by more than a hundredth: while they do, and not beyond the pause of
/// 200 ms on each tap. The record of this test holds times, no resistance. The current falls
/// exponentially towards that with the resistors, with the leakage of the impedance test; no claim
/// is made near the limit of a hundredth.
void dynamic_resistance_steps_as_the_resistance_test(const BenchFigures& f, Comparison& compare) {
  if (f.unit.taps.type != KVR_TAP_CHANGER_OLTC) {
    compare.holds(f.dynamic.code == KVR_RES_OLTC_TAPCHANGER_MISSING, "finds a changer");
    return;
  }
  const Side side = f.unit.taps.side;
  const auto& taps = f.resistance.sides[side == Side::high ? 0 : 1];
  std::size_t must = 0;
  std::size_t can = 0;
  const double resistors = f.unit.taps.transition_resistance;
  const double turns = short_circuit(f).phases[0].v_ratio;
  const double inductance =
      short_circuit(f).phases[0].inductance / (side == Side::low ? turns * turns : 1);
  const auto source_at = [&f](double resistance) {
    return std::max(
        0.0, f.settings.family.direct_voltage / f.settings.family.direct_current - resistance);
  };
  const double source = source_at(present_points(f.resistance, f, side).front().data.rm);
  for (std::size_t tap = 1; tap < taps.size(); ++tap) {
    const auto& transition = taps[tap].points.front().transition;
    compare.holds(
        transition && transition->from == taps[tap - 1].tap && transition->to == taps[tap].tap,
        "the resistance test records another step");
    const double before = source + taps[tap - 1].points.front().data.rm;
    const double after = source + taps[tap].points.front().data.rm;
    // A winding between two lines has half the leakage of that pair, and up to 1.5 in a delta.
    const double slowest = 2 * inductance / (before + resistors);
    const double reached = 1 - std::exp(-0.044 / slowest);
    const double dip = resistors / 2 / (std::max(before, after) + resistors / 2);
    must += has_sound_windings(f) && dip * reached > 0.1 ? 1U : 0U;
    can += resistors / (before + resistors) > 0.005 || before / after > 1.005 ? 1U : 0U;
  }
  compare.holds(f.dynamic.transitions.size() >= must, "a transition is missing");
  compare.holds(f.dynamic.transitions.size() <= std::max(can, must), "a transition too many");
  compare.holds(f.dynamic.data.transition_count == f.dynamic.transitions.size(), "counts others");
  std::uint32_t begun = 0;
  for (const kvr_TestData_Drm_Transition& each : f.dynamic.transitions) {
    compare.holds(each.start_time >= begun, "a transition begins within the one before");
    compare.holds(each.start_time >= 200 && each.start_time / 200 < taps.size(),
                  "a transition without a step");
    begun = each.start_time / 200 * 200 + 200;
    compare.holds(each.end_time <= begun && each.end_time >= each.start_time,
                  "a transition leaves its pause");
  }
}

const kvr_TestData_Ratio_Phase* phase_of_pair(const ThreePhaseRatio& test, std::string_view pair) {
  for (const kvr_TestData_Ratio_Phase& phase : test.data.phases) {
    const std::string_view read = phase.high_side_phase;
    if (phase.status == KVR_RES_OK && (read == pair || (read.substr(0, 2) == pair.substr(3) &&
                                                        read.substr(3) == pair.substr(0, 2)))) {
      return &phase;
    }
  }
  return nullptr;
}

/// The most flux that leaves a three-limb core, as a fraction of the excited limb's. At most half
/// of the exciting force lies across the two other limbs, and across the path outside, where it
/// drives the flux that a third of the zero-sequence impedance stands for.
double leaving_share(const BenchFigures& f, double exciting_current) {
  const auto& settings = f.bench.transformer;
  const double rated = settings.high_voltage * settings.high_voltage / (settings.kva * 1000);
  const double limb = f.unit.group.high == KVR_WINDING_D ? 3 * rated : rated;
  return 3 * settings.zero_sequence_impedance / 100 * limb * exciting_current / 2 / test_voltage(f);
}

/// The flux of the excited limb returns through the two others, but for what leaves the core. In a
/// delta the voltages of the three windings add up to nothing anyway. A burden's current turns the
/// phase of the other limbs, so that their sum can be greater; with other core forms, and with
/// faults, flux takes other ways. Capacitance lies between terminals, not between limbs. On the low
/// side no other test reads the exciting current.
void balance_sums_up(const BenchFigures& f, Comparison& compare) {
  if (!f.balance || has_burden(f) || !has_sound_windings(f) ||
      f.bench.transformer.winding_capacitance > 0) {
    return;
  }
  const auto& rows = f.balance->rows;
  const auto& settings = f.bench.transformer;
  const bool delta =
      f.balance->side != 0 ? f.unit.group.high == KVR_WINDING_D : f.unit.group.low == KVR_WINDING_D;
  for (int row = 0; row < 3; ++row) {
    const double excited = rows[row].cell[row].value;
    compare.near(rows[row].total,
                 rows[row].cell[0].value + rows[row].cell[1].value + rows[row].cell[2].value,
                 kRounding);
    if (!has_source_impedance(f)) {
      compare.near(excited, test_voltage(f), kRounding);
    }
    const auto* const phase = f.excitation && f.balance->side != 0
                                  ? phase_of_pair(*f.excitation, rows[row].high_label)
                                  : nullptr;
    if (delta) {
      compare.near(rows[row].total - excited, excited, 1e-3);
    } else if (phase && settings.core_form == virtual_instrument::CoreForm::three_limb) {
      compare.near(rows[row].total - excited, excited,
                   leaving_share(f, phase->current_rms) +
                       drop_share(f, phase->current_rms, phase->voltage_rms) + 1e-3);
    }
  }
}

/// What mirrors each other reads alike: the limbs outside, in the balance and with a sound core in
/// the excitation test. Without residual flux, without faults, and without capacitance, which lies
/// between terminals and not between limbs. Inputs of the instrument lie there too.
void outer_limbs_are_alike(const BenchFigures& f, Comparison& compare) {
  const auto& residual = f.bench.transformer.residual_flux;
  const bool clean = residual == std::array<double, 3>{};
  const ThreePhaseRatio* const test = f.excitation_after      ? &*f.excitation_after
                                      : clean && f.excitation ? &*f.excitation
                                                              : nullptr;
  if (!f.balance || f.balance->side == 0 || !test || !has_sound_windings(f) ||
      f.bench.transformer.winding_capacitance > 0) {
    return;
  }
  const auto* const a = phase_of_pair(*test, f.balance->rows[0].high_label);
  const auto* const b = phase_of_pair(*test, f.balance->rows[1].high_label);
  const auto* const c = phase_of_pair(*test, f.balance->rows[2].high_label);
  if (a && b && c) {
    const double inputs = 4 * kInput * test_voltage(f) / b->current_rms;
    if (clean) {
      compare.at_most(f.balance->max_imbalance / 100, 1e-3 + inputs);
    }
    compare.near(a->current_rms, c->current_rms, 1e-3 + inputs);
    compare.holds(b->current_rms <= a->current_rms * (1.001 + inputs),
                  "the middle limb draws more");
  }
}

/// Demagnetising leaves less than 1 percent, wherever it begins; it begins with the flux of the
/// bench, and a second one begins with what the first has left.
void demagnetising_leaves_nothing(const BenchFigures& f, Comparison& compare) {
  const bool saturates = f.bench.transformer.saturation;
  compare.holds((f.demagnetisation.code == KVR_RES_OK) == saturates, "without saturation");
  for (std::size_t limb = 0; limb < f.demagnetisation.phases.size(); ++limb) {
    const kvr_TestData_Demag_Phase& first = f.demagnetisation.phases[limb];
    const kvr_TestData_Demag_Phase& second = f.demagnetisation_after.phases[limb];
    const double begin =
        std::abs(f.bench.transformer.residual_flux[limb]) / f.bench.transformer.knee_flux;
    compare.near(first.remanence_initial, begin, kRounding);
    compare.near(second.remanence_initial, first.remanence_after_demag, kRounding);
    compare.at_most(first.remanence_after_demag, 0.01);
    compare.at_most(second.remanence_after_demag, 0.01);
  }
}

/// The quick check finds what the other tests find: an open lead; an open impedance ten times that
/// of the short circuit; an inductance. It looks at the smallest of three pairs, this agreement at
/// one of them, so near the limits it claims nothing: the limbs differ by less than three.
void go_no_go_finds_what_others_find(const BenchFigures& f, Comparison& compare) {
  const kvr_TestData_GoNoGo& quick = f.go_no_go;
  compare.holds((quick.status_open_circuit != KVR_RES_OK) == has_open_lead(f), "open leads");
  if (has_open_lead(f) || !has_sound_windings(f)) {
    return;
  }
  constexpr double kLimbs = 3;
  const double open_over_short = 1 / core_share(f);
  if (open_over_short > 10 * kLimbs || open_over_short < 10 / kLimbs) {
    compare.holds((quick.status_short_circuit == KVR_RES_OK) == (open_over_short > 10),
                  "shorted windings");
  }
  const kvr_TestData_Ratio_Phase& phase = f.excitation_1ph.phase;
  const double inductance = phase.voltage_h / phase.curr_h * std::sin(phase.efi) /
                            (2 * std::numbers::pi * f.unit.frequency);
  const double least = f.settings.family.minimum_inductance;
  if (inductance > least * kLimbs || inductance < least / kLimbs) {
    compare.holds((quick.status_minimum_inductance == KVR_RES_OK) == (inductance > least),
                  "inductance");
  }
}

struct Agreement {
  const char* name;
  void (*compare)(const BenchFigures&, Comparison&);
};

constexpr Agreement kAgreements[] = {
    {"parts of impedance", parts_of_impedance},
    {"impedance and resistance", copper_is_the_windings_resistance},
    {"losses and impedance", losses_are_those_of_the_impedance},
    {"impedance and stray loss", impedance_follows_from_the_stray_loss_response},
    {"leakage", leakage_is_the_same_everywhere},
    {"ratio and excitation", ratio_draws_the_exciting_current},
    {"ratios and turns", ratios_are_those_of_the_turns},
    {"no-load losses and ratio", no_load_losses_are_the_power_of_the_ratio_test},
    {"heat run and resistance", heat_run_follows_the_temperature},
    {"continuous and resistance", continuous_readings_settle_at_the_resistance},
    {"dynamic and resistance", dynamic_resistance_steps_as_the_resistance_test},
    {"balance", balance_sums_up},
    {"outer limbs", outer_limbs_are_alike},
    {"demagnetisation", demagnetising_leaves_nothing},
    {"go/no-go", go_no_go_finds_what_others_find},
};

/// Compares all figures of benches, and sums up.
class Agreements : public ::testing::Test {
 protected:
  void check(const std::string& name, const std::string& text) {
    SCOPED_TRACE(name);
    const BenchFigures figures = measure_all(text);
    for (const Agreement& agreement : kAgreements) {
      SCOPED_TRACE(agreement.name);
      Comparison comparison(figures.text);
      agreement.compare(figures, comparison);
      Sum& sum = sums_[agreement.name];
      sum.benches += comparison.count() > 0 ? 1U : 0U;
      sum.deviation = std::max(sum.deviation, comparison.deviation());
      if (comparison.share() > sum.share) {
        sum.share = comparison.share();
        sum.worst = name;
      }
    }
  }

  /// An agreement that passes over most benches would show little.
  void expect_compared_on(std::size_t benches) const {
    for (const auto& [name, sum] : sums_) {
      EXPECT_GE(sum.benches, benches) << name;
    }
  }

  void TearDown() override {
    for (const auto& [name, sum] : sums_) {
      std::ostringstream words;
      words << sum.benches << " benches, greatest deviation " << sum.deviation << ", at worst "
            << sum.share * 100 << " percent of what is allowed, on " << sum.worst;
      std::string key = name;
      std::replace_if(
          key.begin(), key.end(), [](char c) { return c == ' ' || c == '/'; }, '_');
      RecordProperty(key, words.str());
    }
  }

 private:
  struct Sum {
    std::size_t benches = 0;
    double deviation = 0;
    double share = 0;  ///< of what is allowed
    std::string worst = {};
  };
  std::map<std::string, Sum> sums_;
};

TEST_F(Agreements, OnEveryShippedBench) {
  const std::filesystem::path folder =
      std::filesystem::path(KVR_TEST_DATA_DIR).parent_path() / "virtual_instrument" / "bench";
  std::size_t benches = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".toml") {
      std::ifstream file(entry.path());
      check(entry.path().filename().string(), {std::istreambuf_iterator<char>(file), {}});
      ++benches;
    }
  }
  EXPECT_EQ(benches, 7U);
  expect_compared_on(1);
}

/// 300, or as many as KVR_RANDOM_BENCHES says.
std::size_t random_benches() {
  const char* const text = std::getenv("KVR_RANDOM_BENCHES");
  return text == nullptr ? 300 : std::strtoul(text, nullptr, 10);
}

/// No random bench makes a test crash or hang either.
TEST_F(Agreements, OnRandomBenches) {
  const std::size_t stride = sweep_stride(1);
  for (std::size_t seed = 1; seed <= random_benches(); seed += stride) {
    check("seed " + std::to_string(seed), random_bench(static_cast<std::uint32_t>(seed)));
  }
  expect_compared_on(random_benches() / stride / 8);
}

}  // namespace

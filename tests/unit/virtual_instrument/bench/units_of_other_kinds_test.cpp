#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <string>
#include <vector>

#include "unit/virtual_instrument/bench/units_of_benches.h"
#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/equivalent_circuit.h"

// Autotransformers, a buried delta, a burden, capacitance between the windings, taps of the low
// side and a source that is not stiff, against the circuit of each on paper.

namespace virtual_instrument {
namespace {

constexpr double kOmega = 2 * std::numbers::pi * 50;

/// 1000/400 V, linear, with hardly any exciting current.
const std::string kSinglePhase =
    "[transformer]\nvector_group = \"Ii0\"\nhigh_voltage = 1000\nlow_voltage = 400\nfrequency = "
    "50\n"
    "high_resistance = 0.3\nhigh_reactance = 0.9\nlow_resistance = 0.08\nlow_reactance = 0.2\n"
    "core_resistance = 1e9\nmagnetizing_reactance = 1e9\nsaturation = false\n";

BenchReading reading_of(const std::string& text) {
  return read_bench(text, "b.toml", built_in_bench());
}

PeriodicState excite(const Network& network, Side side, TerminalPair pair, double volts) {
  return solve_network(network, pair_sources(side, pair, volts), 50);
}

Complex voltage(const PeriodicState& state, Side side, TerminalPair pair) {
  return terminal_voltage(state, side, pair)[1];
}

void expect_near(Complex seen, Complex expected, double fraction) {
  EXPECT_LT(std::abs(seen - expected), fraction * std::abs(expected)) << seen << " " << expected;
}

TEST(Autotransformer, HasTheRatioOfItsVoltagesAndWindingsInSeries) {
  const TransformerUnit unit = unit_of_bench(kSinglePhase + "autotransformer = true\n");
  const Network network = unit_network(unit, kInputResistance);
  for (const Side side : kSides) {
    const PeriodicState state = excite(network, side, {1, 2}, 100);
    expect_near(voltage(state, Side::high, {1, 2}) / voltage(state, Side::low, {1, 2}), 2.5, 1e-6);
  }
  EXPECT_NEAR(dc_resistance(network, terminal_node(Side::high, 1), terminal_node(Side::high, 2)),
              0.3 + 0.08, 1e-4);
  EXPECT_NEAR(dc_resistance(network, terminal_node(Side::low, 1), terminal_node(Side::low, 2)),
              0.08, 1e-5);
  EXPECT_NEAR(dc_resistance(network, terminal_node(Side::high, 1), terminal_node(Side::low, 1)),
              0.3, 1e-5);
}

TEST(Autotransformer, HasTheShortCircuitImpedanceOfItsSeriesWindingAgainstTheCommonOne) {
  const TransformerUnit unit = unit_of_bench(kSinglePhase + "autotransformer = true\n");
  Network network = unit_network(unit, kInputResistance);
  network.branches.push_back(jumper(Side::low, {1, 2}));
  const PeriodicState state = excite(network, Side::high, {1, 2}, 10);
  const double turns = (1000.0 - 400) / 400;  // of the series winding to the common one
  expect_near(voltage(state, Side::high, {1, 2}) / state.source_current[0][1],
              Complex(0.3 + turns * turns * 0.08, 0.9 + turns * turns * 0.2), 1e-4);
}

TEST(Autotransformer, OfThreePhasesJoinsItsNeutrals) {
  const TransformerUnit unit = unit_of_bench(
      "[transformer]\nautotransformer = true\nhigh_voltage = 1000\nlow_voltage = 400\n"
      "[taps]\nfirst = 1\nlast = 5\nmiddle = 3\nposition = 4\nstep = 2\n");
  const Network network = unit_network(unit, kInputResistance);
  for (int phase = 1; phase <= 3; ++phase) {
    const PeriodicState state = excite(network, Side::high, {phase, 0}, 100);
    expect_near(voltage(state, Side::high, {phase, 0}) / voltage(state, Side::low, {phase, 0}),
                2.5 * 1.02, 1e-3);
  }
  EXPECT_LT(dc_resistance(network, terminal_node(Side::high, 0), terminal_node(Side::low, 0)),
            1e-5);
  // The series winding has 0.6 of the turns; the tap adds 0.02 to them.
  const double series =
      dc_resistance(network, terminal_node(Side::high, 1), terminal_node(Side::low, 1));
  EXPECT_NEAR(series, 0.45 * 0.62 / 0.6, 1e-5);
}

TEST(Autotransformer, IsRefusedWhereThereIsNone) {
  const std::string expected =
      ": expected Ii0 or a star-star group with clock 0, and a series winding of a tenth of the "
      "turns "
      "or more at each tap, for an autotransformer";
  for (const char* group : {"Dyn11", "YNyn6", "Ii6", "YNzn1"}) {
    EXPECT_EQ(reading_of("[transformer]\nautotransformer = true\nvector_group = \"" +
                         std::string(group) + "\"\n")
                  .problems,
              std::vector<std::string>{"b.toml:2: transformer.autotransformer" + expected});
  }
  const auto problems_of = [](const std::string& keys) {
    return reading_of("[transformer]\nautotransformer = true\n" + keys).problems.size();
  };
  EXPECT_EQ(problems_of("high_voltage = 240\nlow_voltage = 240\n"), 1U);
  EXPECT_EQ(problems_of("high_voltage = 1000\nlow_voltage = 899\n"), 0U);
  EXPECT_EQ(problems_of("high_voltage = 1000\nlow_voltage = 899\n[taps]\nlast = 2\nstep = -1\n"),
            1U);
  EXPECT_EQ(problems_of("high_voltage = 1000\nlow_voltage = 899\n[taps]\nside = \"low\"\nlast = 2\n"
                        "step = 1\n"),
            1U);
  EXPECT_EQ(problems_of("vector_group = \"Yy0\"\n"), 0U);
}

/// Impedance of a line in ohm with the three terminals of the high side joined, against its
/// neutral.
Complex zero_sequence_impedance(const TransformerUnit& unit) {
  std::vector<VoltageSource> sources;
  for (int terminal = 1; terminal <= 3; ++terminal) {
    sources.push_back({terminal_node(Side::high, terminal), 1});
  }
  sources.push_back({terminal_node(Side::high, 0), 0});
  const PeriodicState state =
      solve_network(unit_network(unit, kInputResistance), sources, unit.frequency);
  return 1.0 / state.source_current[0][1];
}

TEST(BuriedDelta, CarriesZeroSequenceCurrent) {
  const std::string bank =
      "[transformer]\ncore_form = \"bank\"\nsaturation = false\ncore_resistance = 1e9\n"
      "magnetizing_reactance = 1e9\n";
  const std::string delta = "[tertiary]\nvoltage = 400\nresistance = 0.02\nreactance = 0.06\n";
  const double turns = 2400 / std::numbers::sqrt3 / 400;
  expect_near(zero_sequence_impedance(unit_of_bench(bank + delta)),
              Complex(0.45 + turns * turns * 0.02, 0.75 + turns * turns * 0.06), 1e-4);
  EXPECT_GT(std::abs(zero_sequence_impedance(unit_of_bench(bank))), 1e8);
  EXPECT_EQ(reading_of("[transformer]\nvector_group = \"Ii0\"\n[tertiary]\nvoltage = 1\n").problems,
            std::vector<std::string>{
                "b.toml:4: tertiary.voltage: expected a tertiary in a three-phase unit alone"});
}

TEST(BuriedDelta, TakesThirdHarmonicsOutOfTheLines) {
  const auto third_harmonic = [](const TransformerUnit& unit) {
    std::vector<VoltageSource> sources = balanced_sources(unit, Side::high, 2400);
    sources.push_back({terminal_node(Side::high, 0), 0});
    const PeriodicState state = solve_network(unit_network(unit, kInputResistance), sources, 60);
    return magnitude(state.source_current[3][3]);  // in the neutral
  };
  const std::string bank = "[transformer]\ncore_form = \"bank\"\n";
  EXPECT_LT(third_harmonic(unit_of_bench(bank + "[tertiary]\nvoltage = 400\nresistance = 1e-3\n")),
            0.1 * third_harmonic(unit_of_bench(bank)));
}

TEST(Burden, LowersTheVoltageOfTheLowSideByWhatItsCurrentDropsInTheWindings) {
  const TransformerUnit unit =
      unit_of_bench(kSinglePhase + "[burden]\nresistance = 8\nreactance = 6\n");
  const PeriodicState state =
      excite(unit_network(unit, kInputResistance), Side::high, {1, 2}, 1000);
  const Complex burden(8, 6);
  const Complex windings(0.08 + 0.3 / 6.25, 0.2 + 0.9 / 6.25);
  expect_near(voltage(state, Side::low, {1, 2}) / voltage(state, Side::high, {1, 2}),
              0.4 * burden / (burden + windings), 1e-5);
}

TEST(Burden, IsOnEachPhaseOfAThreePhaseUnit) {
  for (const auto& [group, pairs] :
       {std::pair("YNyn0", std::vector<TerminalPair>{{1, 0}, {2, 0}, {3, 0}}),
        std::pair("Dy11", std::vector<TerminalPair>{{1, 3}, {2, 1}, {3, 2}})}) {
    const Network network =
        unit_network(unit_of_bench("[transformer]\nvector_group = \"" + std::string(group) +
                                   "\"\n[burden]\nresistance = 7\nreactance = 0.1\n"),
                     kInputResistance);
    std::vector<TerminalPair> found;
    for (const Branch& branch : network.branches) {
      if (branch.resistance == 7) {
        EXPECT_NEAR(branch.inductance * 2 * std::numbers::pi * 60, 0.1, 1e-12);
        found.push_back(
            {branch.from - terminal_node(Side::low, 0), branch.to - terminal_node(Side::low, 0)});
      }
    }
    EXPECT_EQ(found, pairs);
  }
}

TEST(WindingCapacitance, TakesACurrentThatTheWindingsCarryToo) {
  const TransformerUnit unit = unit_of_bench(kSinglePhase + "winding_capacitance = 1000\n");
  const PeriodicState state = excite(unit_network(unit, 1e15), Side::high, {1, 2}, 1000);
  // Both capacitances in series, between windings whose voltages differ by 0.6 of the high one.
  const Complex expected(0, kOmega * 0.5e-6 * 0.6 * 0.6 * 1000 * std::numbers::sqrt2);
  expect_near(state.source_current[0][1], expected, 1e-3);
  const TransformerUnit open =
      unit_of_bench(kSinglePhase + "winding_capacitance = 1000\n[leads]\nopen = [\"X1\"]\n");
  EXPECT_EQ(unit_network(open, 1e15).capacitors.size(), 1U);
}

TEST(Source, LosesVoltageInItsOwnImpedance) {
  const TransformerUnit unit = unit_of_bench(
      "[transformer]\nvector_group = \"Ii0\"\nhigh_voltage = 1000\nlow_voltage = 400\n"
      "frequency = 50\n[instrument]\nsource_resistance = 40\nsource_inductance = 200\n");
  const PeriodicState state =
      excite(unit_network(unit, kInputResistance), Side::high, {1, 2}, 1100);
  const Spectrum seen = terminal_voltage(state, Side::high, {1, 2});
  const Spectrum& current = state.source_current[0];
  expect_near(seen[1], 1100 * std::numbers::sqrt2 - Complex(40, kOmega * 0.2) * current[1], 1e-9);
  // What the core needs in harmonics distorts the voltage.
  expect_near(seen[3], -Complex(40, 3 * kOmega * 0.2) * current[3], 1e-9);
  EXPECT_GT(magnitude(seen[3]), 1);
}

const std::string kTaps =
    "[taps]\ntype = \"OLTC\"\nside = \"low\"\nfirst = 1\nlast = 3\nmiddle = 2\nposition = 3\n"
    "step = 5\ntransition_resistance = 2\n";

TEST(TapsOfTheLowSide, ChangeItsTurnsAndResistance) {
  const TransformerUnit unit = unit_of_bench(kSinglePhase + kTaps);
  EXPECT_NEAR(turns_ratio(unit), 2.5 / 1.05, 1e-12);
  EXPECT_NEAR(rated_turns_ratio(unit), 2.5, 1e-12);
  const Network network = unit_network(unit, kInputResistance);
  EXPECT_NEAR(dc_resistance(network, terminal_node(Side::high, 1), terminal_node(Side::high, 2)),
              0.3, 1e-6);
  EXPECT_NEAR(dc_resistance(network, terminal_node(Side::low, 1), terminal_node(Side::low, 2)),
              0.08 * 1.05, 1e-6);
  const kvr_TestSetup setup = nameplate_setup(unit);
  EXPECT_EQ(setup.windings[0].tap_changer, KVR_TAP_CHANGER_NONE);
  EXPECT_EQ(setup.windings[1].tap_changer, KVR_TAP_CHANGER_OLTC);
}

TEST(TapsOfTheLowSide, AreSteppedThroughThere) {
  const TransformerUnit unit = unit_of_bench(kSinglePhase + kTaps);
  const FamilySettings settings = family_settings(50);
  const ResistanceTest test = resistance_test(unit, settings);
  ASSERT_EQ(test.sides[0].size(), 1U);
  ASSERT_EQ(test.sides[1].size(), 3U);
  EXPECT_EQ(test.sides[0][0].tap, 1);
  for (int position = 1; position <= 3; ++position) {
    const ResistanceTap& tap = test.sides[1][static_cast<std::size_t>(position) - 1];
    EXPECT_EQ(tap.tap, position);
    EXPECT_NEAR(tap.points[0].data.rm, 0.08 * (1 + 0.05 * (position - 2)), 1e-3 * 0.08);
    EXPECT_EQ(tap.points[0].transition.has_value(), position > 1);
  }
  EXPECT_EQ(dynamic_resistance_test(unit, settings).transitions.size(), 2U);
}

}  // namespace
}  // namespace virtual_instrument

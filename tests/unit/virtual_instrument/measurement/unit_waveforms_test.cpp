#include "virtual_instrument/measurement/unit_waveforms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

#include "unit/virtual_instrument/model/units.h"

namespace virtual_instrument {
namespace {

/// A state whose node voltages are `volts`, as fundamentals, H0 to X3.
PeriodicState state_with(const std::array<double, 8>& volts) {
  PeriodicState state{};
  for (const double voltage : volts) {
    state.node_voltage.push_back({});
    state.node_voltage.back()[1] = voltage;
  }
  return state;
}

constexpr std::array<double, 8> kVolts{1, 10, 20, 60, 2, 100, 300, 800};

TEST(TerminalWaveform, StartsAStepAfterTheRiseOfASine) {
  Spectrum spectrum{};
  spectrum[1] = 5;
  spectrum[3] = 2;
  const std::vector<double> values = terminal_waveform(spectrum);
  ASSERT_EQ(values.size(), 1024U);
  for (std::size_t step = 0; step < values.size(); ++step) {
    const double turns = static_cast<double>(step + 1) / 1024;
    const double expected =
        5 * std::sin(2 * std::numbers::pi * turns) - 2 * std::sin(2 * std::numbers::pi * 3 * turns);
    EXPECT_NEAR(values[step], expected, 1e-12) << step;
  }
}

TEST(TerminalVoltage, IsThatOfAPairOrAgainstTheMeanOfTheLines) {
  const PeriodicState state = state_with(kVolts);
  EXPECT_EQ(terminal_voltage(state, Side::high, {3, 1})[1], Complex(50));
  EXPECT_EQ(terminal_voltage(state, Side::low, {0, 2})[1], Complex(-298));
  EXPECT_NEAR(line_voltage_to_mean(state, Side::high, 3)[1].real(), 30, 1e-12);
  EXPECT_NEAR(line_voltage_to_mean(state, Side::low, 1)[1].real(), -300, 1e-12);
}

TEST(TerminalCurrent, IsThatOfTheSourceAtItsNode) {
  PeriodicState state{};
  state.source_current.resize(2);
  state.source_current[0][1] = 3;
  state.source_current[1][1] = -3;
  const std::vector<VoltageSource> sources = pair_sources(Side::low, {2, 0}, 10);
  EXPECT_EQ(terminal_current(state, sources, Side::low, 2)[1], Complex(3));
  EXPECT_EQ(terminal_current(state, sources, Side::low, 0)[1], Complex(-3));
  EXPECT_EQ(terminal_current(state, sources, Side::low, 1)[1], Complex(0));
  EXPECT_EQ(terminal_current(state, sources, Side::high, 2)[1], Complex(0));
}

TEST(PairSources, PutTheWholeVoltageOnTheFirstTerminal) {
  const std::vector<VoltageSource> sources = pair_sources(Side::low, {3, 1}, 10);
  ASSERT_EQ(sources.size(), 2U);
  EXPECT_EQ(sources[0].node, 7);
  EXPECT_DOUBLE_EQ(sources[0].voltage.real(), 10 * std::numbers::sqrt2);
  EXPECT_EQ(sources[1].node, 5);
  EXPECT_EQ(sources[1].voltage, Complex(0));
}

TEST(JoinLines, PutsAJumperBetweenNeighbours) {
  Network network{};
  join_lines(network, three_phase_unit(), Side::low);
  ASSERT_EQ(network.branches.size(), 2U);
  EXPECT_EQ(network.branches[0].from, 5);
  EXPECT_EQ(network.branches[0].to, 6);
  EXPECT_EQ(network.branches[1].from, 6);
  EXPECT_EQ(network.branches[1].to, 7);
  EXPECT_EQ(network.branches[0].resistance, 1e-6);
  network.branches.clear();
  join_lines(network, single_phase_unit(), Side::high);
  ASSERT_EQ(network.branches.size(), 1U);
  EXPECT_EQ(network.branches[0].to, 2);
}

std::string names(Side side, const std::vector<TerminalPair>& pairs) {
  std::string text;
  for (const TerminalPair& pair : pairs) {
    text += pair_name(side, pair) + " ";
  }
  return text;
}

TEST(Pairs, AreToTheNeutralOrBetweenLines) {
  const TransformerUnit unit = three_phase_unit();
  EXPECT_EQ(names(Side::high, phase_pairs(unit, Side::high)), "H1-H3 H2-H1 H3-H2 ");
  EXPECT_EQ(names(Side::low, phase_pairs(unit, Side::low)), "X1-X0 X2-X0 X3-X0 ");
  EXPECT_EQ(names(Side::low, line_pairs(unit)), "X1-X3 X2-X1 X3-X2 ");
  EXPECT_EQ(names(Side::high, phase_pairs(single_phase_unit(), Side::high)), "H1-H2 ");
}

TEST(SamplePair, ReadsTheExcitedPairAndTheOther) {
  MeasurementSettings settings{};
  settings.samples_per_period = 64;
  settings.periods = 2;
  Noise noise(1);
  const SampledTest test =
      sample_pair(unit_network(single_phase_unit(), kInputResistance),
                  {Side::low, {1, 2}, 24, 60, Side::high, {1, 2}}, settings, noise);
  EXPECT_EQ(test.excited, Side::low);
  EXPECT_EQ(test.sample_rate, 60 * 64);
  EXPECT_NEAR(excited_voltage(test).real(), 24, 1e-9);
  EXPECT_NEAR(excited_voltage(test).imag(), 0, 1e-9);
  EXPECT_NEAR(magnitude(other_voltage(test)), 800, 4);  // less what the core takes
  EXPECT_EQ(rms(test.current[Side::high]), 0);
  const Complex impedance = measured_impedance(test);
  EXPECT_NEAR(magnitude(impedance * excited_current(test) - excited_voltage(test)), 0, 1e-9);
}

}  // namespace
}  // namespace virtual_instrument

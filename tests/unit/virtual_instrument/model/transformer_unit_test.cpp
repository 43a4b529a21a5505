#include "virtual_instrument/model/transformer_unit.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <string>

#include "unit/virtual_instrument/model/units.h"

namespace virtual_instrument {
namespace {

TEST(NameplateSetup, HoldsWhatANameplateShows) {
  TransformerUnit unit = three_phase_unit();
  unit.taps = {KVR_TAP_CHANGER_OLTC, 1, 5, 3, 3, -2.5, 5};
  unit.temperature = 31;
  const kvr_TestSetup setup = nameplate_setup(unit);
  const kvr_WindingSetup& high = setup.windings[0];
  const kvr_WindingSetup& low = setup.windings[1];
  EXPECT_EQ(high.winding_type, KVR_WINDING_D);
  EXPECT_EQ(low.winding_type, KVR_WINDING_YN);
  EXPECT_EQ(high.voltage, 11000);
  EXPECT_EQ(low.voltage, 433);
  EXPECT_NEAR(high.current, 500e3 / std::sqrt(3.0) / 11000, 1e-4);
  EXPECT_NEAR(low.current, 500e3 / std::sqrt(3.0) / 433, 1e-3);
  EXPECT_EQ(high.tap_changer, KVR_TAP_CHANGER_OLTC);
  EXPECT_EQ(low.tap_changer, KVR_TAP_CHANGER_NONE);
  for (const kvr_WindingSetup& winding : setup.windings) {
    EXPECT_EQ(winding.winding_setting, 1);
  }
  EXPECT_EQ(setup.connection_type, kConnectionHToX);
  EXPECT_EQ(setup.connections[0].clock, 11);
  EXPECT_EQ(setup.connections[0].kva, 500);
  EXPECT_EQ(setup.line_frequency, 50);
  EXPECT_EQ(setup.temperature_from, 31);
  EXPECT_EQ(setup.temperature_to, 75);
}

/// The terminals of a side that have a lead.
std::string leads_of(const TransformerUnit& unit, Side side) {
  std::string terminals;
  for (int terminal = 0; terminal < 4; ++terminal) {
    terminals += lead_connected(unit, side, terminal) ? std::to_string(terminal) : "";
  }
  return terminals;
}

TEST(LeadConnected, IfTheWindingHasTheTerminalAndTheLeadIsNotOpen) {
  TransformerUnit unit = three_phase_unit();
  EXPECT_EQ(leads_of(unit, Side::high), "123");
  EXPECT_EQ(leads_of(unit, Side::low), "0123");
  unit.faults.open_lead[Side::low][0] = true;
  unit.faults.open_lead[Side::high][3] = true;
  EXPECT_EQ(leads_of(unit, Side::high), "12");
  EXPECT_EQ(leads_of(unit, Side::low), "123");
  EXPECT_EQ(leads_of(single_phase_unit(), Side::high), "12");
  EXPECT_EQ(leads_of(single_phase_unit(), Side::low), "12");
}

TEST(RatedValues, FollowFromTheNameplate) {
  const TransformerUnit unit = three_phase_unit();
  EXPECT_DOUBLE_EQ(rated_turns_ratio(unit), 11000.0 / 433 * std::sqrt(3.0));
  EXPECT_DOUBLE_EQ(rated_flux(unit), std::numbers::sqrt2 * 11000 / (100 * std::numbers::pi));
  EXPECT_DOUBLE_EQ(rated_current(single_phase_unit(), Side::low), 20e3 / 240);
  TransformerUnit other = unit;
  other.turns_deviation = 2;
  other.taps = {KVR_TAP_CHANGER_OLTC, 1, 5, 3, 2, -2.5, 5};
  EXPECT_DOUBLE_EQ(turns_ratio(other) / turns_ratio(unit), 1.02 * 1.025);
}

TEST(UnitNetwork, HasABranchForEachWindingAndEachGroupOfShortedTurns) {
  TransformerUnit unit = three_phase_unit();
  unit.capacitance = 3e-9;
  const Network sound = unit_network(unit, 1e6);
  unit.faults.shorted_turns = {{Side::low, 1, 0.25, 0.5}};
  unit.faults.reversed_winding[Side::low][2] = true;
  const Network network = unit_network(unit, 1e6);
  ASSERT_EQ(sound.branches.size(), 6U);
  ASSERT_EQ(network.branches.size(), 7U);
  const double low_turns = 433 / 11000.0 / std::sqrt(3.0);
  const LimbWinding& high = unit.windings[Side::high];
  const LimbWinding& low = unit.windings[Side::low];
  const double omega = 100 * std::numbers::pi;
  EXPECT_DOUBLE_EQ(network.branches[0].resistance, high.resistance);
  EXPECT_DOUBLE_EQ(network.branches[0].inductance, high.leakage_inductance);
  EXPECT_DOUBLE_EQ(network.branches[0].eddy_resistance,
                   high.resistance * high.stray_share / (omega * omega));
  const std::array<double, 3> sound_part{1, 0.75, 1};
  const std::array<double, 3> direction{1, 1, -1};
  for (std::size_t number = 3; number < 6; ++number) {
    const Branch& plain = sound.branches[number];
    const Branch& faulty = network.branches[number];
    const std::size_t limb = plain.turns[0] != 0 ? 0 : plain.turns[1] != 0 ? 1 : 2;
    EXPECT_DOUBLE_EQ(std::abs(plain.turns[limb]), low_turns);
    EXPECT_DOUBLE_EQ(faulty.turns[limb], plain.turns[limb] * sound_part[limb] * direction[limb]);
    EXPECT_DOUBLE_EQ(plain.resistance, low.resistance);
    EXPECT_DOUBLE_EQ(faulty.resistance, low.resistance * sound_part[limb]);
    EXPECT_DOUBLE_EQ(faulty.inductance,
                     low.leakage_inductance * sound_part[limb] * sound_part[limb]);
  }
  EXPECT_DOUBLE_EQ(network.branches[6].turns[1], 0.25 * low_turns);
  EXPECT_DOUBLE_EQ(network.branches[6].resistance, 0.25 * low.resistance + 0.5);
  for (const Side side : kSides) {
    for (int terminal = 0; terminal < 4; ++terminal) {
      const auto node = static_cast<std::size_t>(terminal_node(side, terminal));
      const bool has_lead = lead_connected(unit, side, terminal);
      EXPECT_NEAR(network.node_conductance[node], has_lead ? 1e-6 + 1e-11 : 1e-11, 1e-18);
      EXPECT_EQ(network.node_capacitance[node], has_lead ? 3e-9 : 0);
    }
  }
}

/// The signs of the turns of a side's phase windings, limb by limb, in units of the first.
std::string turns_of(const TransformerUnit& unit, Side side) {
  const Network network = unit_network(unit, 1e6);
  std::string text;
  for (std::size_t phase = 0; phase < 3; ++phase) {
    for (const double turns : network.branches[3 * index(side) + phase].turns) {
      text += turns > 0 ? "+" : turns < 0 ? "-" : "0";
    }
    text += " ";
  }
  return text;
}

TEST(UnitNetwork, EachHalfOfAZigzagWindingCanBeReversed) {
  TransformerUnit unit = three_phase_unit();
  unit.group = parse_group("Yzn11").value();
  EXPECT_EQ(turns_of(unit, Side::low), "+-0 0+- -0+ ");
  auto& halves = unit.faults.reversed_half[Side::low];
  halves[0][0] = true;
  EXPECT_EQ(turns_of(unit, Side::low), "--0 0+- -0+ ");
  halves = {};
  halves[2][1] = true;
  EXPECT_EQ(turns_of(unit, Side::low), "+-0 0+- +0+ ");
  halves[2][0] = true;  // both: the whole winding
  EXPECT_EQ(turns_of(unit, Side::low), "+-0 0+- +0- ");
  EXPECT_EQ(turns_of(unit, Side::high), "+00 0+0 00+ ");
}

TEST(UnitNetwork, APhaseOfAZigzagIsReversedAlone) {
  TransformerUnit unit = three_phase_unit();
  unit.group = parse_group("Yzn11").value();
  const char* const expected[] = {"-+0 0+- -0+ ", "+-0 0-+ -0+ ", "+-0 0+- +0- "};
  for (std::size_t phase = 0; phase < 3; ++phase) {
    unit.faults = {};
    unit.faults.reversed_winding[Side::low][phase] = true;
    EXPECT_EQ(turns_of(unit, Side::low), expected[phase]);
  }
}

}  // namespace
}  // namespace virtual_instrument

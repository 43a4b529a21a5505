#include "virtual_instrument/measurement/clock_search.h"

#include <gtest/gtest.h>

#include "unit/virtual_instrument/model/units.h"

namespace virtual_instrument {
namespace {

constexpr int kNoGroupHasIt = 12;

struct Search {
  explicit Search(const TransformerUnit& tested, float voltage = 100)
      : unit(tested), circuit(unit, request(voltage), bench, noise) {}

  static kvr_Ratio3phRequest request(float voltage) {
    kvr_Ratio3phRequest request{};
    request.test_type = KVR_TEST_RATIO_DOWN;
    request.test_voltage = voltage;
    request.setup.line_frequency = 50;
    return request;
  }

  FoundClock with_one_source(int entered_clock) {
    return find_clock_with_one_source(circuit, {unit.group.high, unit.group.low, 0}, entered_clock);
  }

  TransformerUnit unit;
  Bench bench{};
  Noise noise{1};
  TestCircuit circuit;
};

TransformerUnit unit_of(const WindingGroup& group) {
  TransformerUnit unit = three_phase_unit();
  unit.group = group;
  return unit;
}

TEST(ClockSearch, FindsEveryClockWithOneSourceWhateverWasEntered) {
  for (const WindingGroup& group : three_phase_groups()) {
    const FoundClock found = Search(unit_of(group)).with_one_source((group.clock + 2) % 12);
    EXPECT_EQ(found.code, KVR_RES_OK) << group_name(group);
    EXPECT_EQ(found.clock, group.clock) << group_name(group);
  }
}

TEST(ClockSearch, FindsClocksInSmallVoltages) {
  for (const WindingGroup& group : three_phase_groups()) {
    TransformerUnit unit = unit_of(group);
    unit.rated_voltage[Side::low] = 433e-4;
    const FoundClock found = Search(unit).with_one_source(kNoGroupHasIt);
    EXPECT_EQ(found.code, KVR_RES_OK) << group_name(group);
    EXPECT_EQ(found.clock, group.clock) << group_name(group);
  }
}

// A reversed winding makes one phase like a clock that the others are unlike.
TEST(ClockSearch, FindsNoClockThatOnlySomePhasesShow) {
  for (const char* const name : {"Dd0", "Dyn11", "YNyn0", "YNd1"}) {
    TransformerUnit unit = unit_of(parse_group(name).value());
    unit.faults.reversed_winding[Side::low][0] = true;
    EXPECT_EQ(Search(unit).with_one_source(kNoGroupHasIt).code, KVR_RES_CANNOT_DETECT_PHASING)
        << name;
  }
}

TEST(ClockSearch, FindsNoClockWithoutAVoltage) {
  for (const char* const name : {"Dyn11", "YNyn0"}) {
    Search search(unit_of(parse_group(name).value()), 0);
    EXPECT_EQ(search.with_one_source(kNoGroupHasIt).code, KVR_RES_CANNOT_DETECT_PHASING) << name;
  }
}

TEST(ClockSearch, TakesTheEnteredClockIfALeadIsOpen) {
  TransformerUnit unit = unit_of(parse_group("Dyn11").value());
  unit.faults.open_lead[Side::low][2] = true;
  const FoundClock entered = Search(unit).with_one_source(5);
  EXPECT_EQ(entered.code, KVR_RES_OK);
  EXPECT_EQ(entered.clock, 5);
  EXPECT_EQ(Search(unit).with_one_source(kNoGroupHasIt).code, KVR_RES_OPEN_LEAD_X2);
  EXPECT_EQ(Search(unit).with_one_source(4).code, KVR_RES_OPEN_LEAD_X2);  // of no Dyn unit
}

TEST(ClockSearch, FindsEveryClockFromTheLines) {
  for (const WindingGroup& group : three_phase_groups()) {
    BySide<std::array<Complex, 3>> lines;
    for (std::size_t line = 0; line < 3; ++line) {
      const double turns = -static_cast<double>(line) / 3;
      lines[Side::high][line] = 100.0 * phasor_at(turns);
      lines[Side::low][line] = phasor_at(turns - group.clock / 12.0 + 0.01);
    }
    const FoundClock found = find_clock_of_lines({group.high, group.low, 0}, lines);
    EXPECT_EQ(found.code, KVR_RES_OK) << group_name(group);
    EXPECT_EQ(found.clock, group.clock) << group_name(group);
  }
}

TEST(ClockSearch, NeedsAVoltageOnBothSides) {
  const WindingGroup group = parse_group("YNyn0").value();
  const std::array<Complex, 3> some{1, phasor_at(-1.0 / 3), phasor_at(1.0 / 3)};
  BySide<std::array<Complex, 3>> lines{};
  for (const Side side : kSides) {
    lines[side] = some;
    lines[other_side(side)] = {};
    EXPECT_EQ(find_clock_of_lines(group, lines).code, KVR_RES_CANNOT_DETECT_PHASING);
  }
  EXPECT_EQ(find_clock_of_lines(group, {}).code, KVR_RES_CANNOT_DETECT_PHASING);
}

TEST(FirstGroup, HasTheLowestClock) {
  EXPECT_EQ(first_group({KVR_WINDING_D, KVR_WINDING_YN, 11}).clock, 1);
  EXPECT_EQ(first_group({KVR_WINDING_D, KVR_WINDING_D, 6}).clock, 0);
}

}  // namespace
}  // namespace virtual_instrument

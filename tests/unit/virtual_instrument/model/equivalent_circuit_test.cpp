#include "virtual_instrument/model/equivalent_circuit.h"

#include <gtest/gtest.h>

#include <numbers>
#include <stdexcept>
#include <string>

namespace virtual_instrument {
namespace {

constexpr double kPermille = 1e-3;

void expect_near_share(double value, double expected, double share) {
  EXPECT_NEAR(value, expected, expected * share);
}

struct TestedUnit {
  UnitPlate plate;
  CircuitTest open_circuit;
  CircuitTest short_circuit;
  double ratio() const { return plate.high_voltage / plate.low_voltage; }
};

const TestedUnit kUnit20kva = {{{KVR_WINDING_1P, KVR_WINDING_1P, 0}, 8000, 240, 20, 60, 0, 0, 0.5},
                               {Side::high, 8000, 0.214, 400},
                               {Side::high, 489, 2.5, 240}};

const TestedUnit kUnit50kva = {{{KVR_WINDING_1P, KVR_WINDING_1P, 0}, 2400, 120, 50, 60, 0, 0, 0.5},
                               {Side::low, 120, 9.65, 396},
                               {Side::high, 92, 20.8, 810}};

const TestedUnit kUnitDyn11 = {
    {{KVR_WINDING_D, KVR_WINDING_YN, 11}, 11000, 433, 500, 50, 1, 0.1, 0.6},
    {Side::low, 433, 12, 1000},
    {Side::high, 495, 26.243, 5500}};

TEST(EquivalentCircuit, FollowsFromTestsOnTheHighSide) {
  const EquivalentCircuit circuit =
      equivalent_circuit(kUnit20kva.open_circuit, kUnit20kva.short_circuit, kUnit20kva.ratio());
  expect_near_share(circuit.core_resistance, 160e3, kPermille);
  expect_near_share(circuit.magnetizing_reactance, 38.45e3, kPermille);
  expect_near_share(circuit.series_resistance, 38.4, kPermille);
  expect_near_share(circuit.series_reactance, 191.8, kPermille);
}

TEST(EquivalentCircuit, IsSeenFromTheHighSideWhereTheLowSideWasTested) {
  const EquivalentCircuit circuit =
      equivalent_circuit(kUnit50kva.open_circuit, kUnit50kva.short_circuit, kUnit50kva.ratio());
  expect_near_share(circuit.core_resistance, 14.55e3, kPermille);
  expect_near_share(circuit.magnetizing_reactance, 5.29e3, kPermille);
  expect_near_share(circuit.series_resistance, 1.872, kPermille);
  expect_near_share(circuit.series_reactance, 4.007, kPermille);
}

TEST(EquivalentCircuit, IsTheSameWhicheverSideWasTested) {
  const CircuitTest open_high{Side::high, 2400, 0.05, 60};
  const CircuitTest open_low{Side::low, 240, 0.5, 60};
  const CircuitTest short_high{Side::high, 48, 20, 600};
  const CircuitTest short_low{Side::low, 4.8, 200, 600};
  const EquivalentCircuit expected = equivalent_circuit(open_low, short_high, 10);
  for (const EquivalentCircuit& circuit : {equivalent_circuit(open_high, short_low, 10),
                                           equivalent_circuit(open_low, short_low, 10)}) {
    expect_near_share(circuit.core_resistance, expected.core_resistance, 1e-12);
    expect_near_share(circuit.magnetizing_reactance, expected.magnetizing_reactance, 1e-12);
    expect_near_share(circuit.series_resistance, expected.series_resistance, 1e-12);
    expect_near_share(circuit.series_reactance, expected.series_reactance, 1e-12);
  }
}

TEST(EquivalentCircuit, RefusesMorePowerThanVoltageAndCurrentMake) {
  const auto reason = [](double open_power, double short_power) -> std::string {
    try {
      equivalent_circuit({Side::high, 100, 1, open_power}, {Side::high, 10, 1, short_power}, 1);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "none";
  };
  EXPECT_EQ(reason(101, 5), "a test took more power than its voltage and current make");
  EXPECT_EQ(reason(10, 0), "a test took more power than its voltage and current make");
  EXPECT_EQ(reason(100, 10), "none");
}

TEST(EquivalentCircuit, TakesTheSmallPowersOfSmallUnits) {
  const EquivalentCircuit circuit =
      equivalent_circuit({Side::high, 10, 0.1, 0.5}, {Side::high, 1, 1, 0.25}, 1);
  EXPECT_DOUBLE_EQ(circuit.core_resistance, 200);
  EXPECT_DOUBLE_EQ(circuit.series_resistance, 0.25);
}

class UnitFromTests : public testing::TestWithParam<TestedUnit> {};

TEST_P(UnitFromTests, ReadsTheTestsThatItWasMadeFrom) {
  const TestedUnit& tested = GetParam();
  const TransformerUnit unit =
      unit_from_tests(tested.plate, tested.open_circuit, tested.short_circuit);
  const CircuitTest open = open_circuit_test(unit, tested.open_circuit.side,
                                             tested.open_circuit.voltage, tested.plate.frequency);
  expect_near_share(open.current, tested.open_circuit.current, kPermille);
  expect_near_share(open.power, tested.open_circuit.power, kPermille);
  const CircuitTest shorted = short_circuit_test(
      unit, tested.short_circuit.side, tested.short_circuit.current, tested.plate.frequency);
  expect_near_share(shorted.current, tested.short_circuit.current, kPermille);
  expect_near_share(shorted.voltage, tested.short_circuit.voltage, kPermille);
  expect_near_share(shorted.power, tested.short_circuit.power, kPermille);
}

INSTANTIATE_TEST_SUITE_P(Units, UnitFromTests, testing::Values(kUnit20kva, kUnit50kva, kUnitDyn11));

TEST(UnitFromTests, HasWhatItsPlateSaysAndNothingMore) {
  const TransformerUnit unit =
      unit_from_tests(kUnitDyn11.plate, kUnitDyn11.open_circuit, kUnitDyn11.short_circuit);
  EXPECT_EQ(group_name(unit.group), "Dyn11");
  EXPECT_EQ(unit.rated_voltage[Side::high], 11000);
  EXPECT_EQ(unit.rated_voltage[Side::low], 433);
  EXPECT_EQ(unit.kva, 500);
  EXPECT_EQ(unit.frequency, 50);
  EXPECT_EQ(unit.turns_deviation, 0);
  EXPECT_EQ(unit.reference_temperature, 20);
  EXPECT_EQ(unit.temperature, 20);
  EXPECT_EQ(unit.impedance_percent, 0);
  EXPECT_EQ(unit.capacitance, 0);
  const TapChanger& taps = unit.taps;
  EXPECT_EQ(taps.type, KVR_TAP_CHANGER_NONE);
  EXPECT_EQ(taps.first, 1);
  EXPECT_EQ(taps.last, 1);
  EXPECT_EQ(taps.middle, 1);
  EXPECT_EQ(taps.position, 1);
  EXPECT_EQ(taps.step, 0);
  EXPECT_EQ(taps.transition_resistance, 0);
  EXPECT_EQ(unit.core.limbs, 3);
  EXPECT_EQ(unit.core.yoke_ratio, 1);
  EXPECT_EQ(unit.core.hysteresis_share, 0.6);
  EXPECT_EQ(unit.core.reference_frequency, 50);
  EXPECT_EQ(unit.core.limb.low_flux, rated_flux(unit));
  EXPECT_TRUE(is_linear(unit.core));
  EXPECT_EQ(unit.core.limb.saturated_inductance, unit.core.limb.inductance);
  EXPECT_EQ(unit.windings[Side::high].stray_share, 0.1);
  EXPECT_EQ(unit.windings[Side::low].stray_share, 0.1);
}

TEST(UnitFromTests, LeavesTheTestsOfTheOtherSideToTheCircuit) {
  const TransformerUnit unit =
      unit_from_tests(kUnit50kva.plate, kUnit50kva.open_circuit, kUnit50kva.short_circuit);
  EXPECT_EQ(unit.core.limbs, 1);
  const CircuitTest open = open_circuit_test(unit, Side::high, 2400, 60);
  expect_near_share(open.current, 9.65 / 20, kPermille);
  expect_near_share(open.power, 396, kPermille);
}

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/measurement/measurements.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

#include "record_form/record_shape.h"
#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/recording/nested_records.h"

namespace virtual_instrument {
namespace {

constexpr double kPermille = 1e-3;

TransformerUnit with_tap_changer(TransformerUnit unit, kvr_TapChangerType type) {
  unit.taps = {type, 1, 5, 3, 3, -2.5, 5};
  return unit;
}

double first_reading(const ResistanceTest& test, Side side) {
  return test.sides[index(side)].front().points.front().data.rm;
}

TEST(FamilySettings, AreThoseOfADemonstrationInstrument) {
  const FamilySettings settings = family_settings(60);
  EXPECT_EQ(settings.measurement.samples_per_period, 64);
  EXPECT_EQ(settings.measurement.periods, 10);
  EXPECT_EQ(settings.measurement.noise, 0);
  EXPECT_EQ(settings.line_frequency, 60);
  EXPECT_EQ(settings.test_voltage, 100);
  EXPECT_EQ(settings.direct_voltage, 50);
  EXPECT_EQ(settings.direct_current, 10);
  EXPECT_EQ(settings.corrected_to, 75);
  EXPECT_EQ(settings.minimum_inductance, 0.1);
  EXPECT_EQ(settings.seed, 1U);
}

// ---- resistance

double growth_from_20_to_75(TransformerUnit unit) {
  const FamilySettings settings = family_settings(50);
  const double cold = first_reading(resistance_test(unit, settings), Side::high);
  unit.temperature = 75;
  return first_reading(resistance_test(unit, settings), Side::high) / cold;
}

TEST(Resistance, GrowsWithTheTemperatureOfTheMetal) {
  TransformerUnit unit = three_phase_unit();
  EXPECT_NEAR(growth_from_20_to_75(unit), 1.2161, 0.00005);
  EXPECT_NEAR(heating_factor(kCopper, 20, 75), 1.2161, 0.00005);
  unit.conductor = kAluminium;
  EXPECT_NEAR(growth_from_20_to_75(unit), 1.2245, 0.00005);
  EXPECT_NEAR(heating_factor(kAluminium, 20, 75), 1.2245, 0.00005);
}

TEST(Resistance, DiffersByThatOfEachLimb) {
  TransformerUnit unit = three_phase_unit();
  unit.windings[Side::high].deviation = {0, 0.03, 0};
  const ResistanceTest test = resistance_test(unit, family_settings(50));
  const double each = unit.windings[Side::high].resistance;
  const auto between = [each](double winding, double others) {
    return each / (1 / winding + 1 / others);
  };
  // A winding beside the two others of the delta.
  const std::vector<ResistancePoint>& points = test.sides[index(Side::high)].front().points;
  ASSERT_EQ(points.size(), 3U);
  const auto windings = phase_windings(unit.group);
  for (const PhaseWinding& winding : windings[Side::high]) {
    const TerminalPair pair = winding.terminals;
    const auto point = std::find_if(points.begin(), points.end(), [&pair](const auto& read) {
      const std::string_view name = read.data.name;
      return name == pair_name(Side::high, pair) ||
             name == pair_name(Side::high, {pair.minus, pair.plus});
    });
    ASSERT_NE(point, points.end());
    const double expected = winding.limb == 1 ? between(1.03, 2) : between(1, 2.03);
    EXPECT_NEAR(point->data.rm, expected, expected * 2e-4) << point->data.name;
  }
}

TEST(Resistance, IsThatOfTheWindingsBetweenTheTerminals) {
  const TransformerUnit unit = three_phase_unit();
  const ResistanceTest test = resistance_test(unit, family_settings(50));
  ASSERT_EQ(test.sides[index(Side::high)].size(), 1U);
  const ResistanceTap& high = test.sides[index(Side::high)].front();
  ASSERT_EQ(high.points.size(), 3U);
  const char* const names[] = {"H1-H3", "H2-H1", "H3-H2"};
  for (std::size_t phase = 0; phase < 3; ++phase) {
    const kvr_TestData_Point& point = high.points[phase].data;
    EXPECT_STREQ(point.name, names[phase]);
    EXPECT_NEAR(point.rm, unit.windings[Side::high].resistance * 2 / 3, point.rm * 2e-4);
    EXPECT_NEAR(point.ua / point.ia, point.rm, point.rm * 1e-6);
    EXPECT_EQ(point.state, KVR_POINT_STABLE);
    EXPECT_EQ(point.error, KVR_RES_OK);
    EXPECT_NEAR(point.stability, 0.01, 1e-5);
    EXPECT_GT(point.stabilization_ms, 0U);
  }
  const ResistanceTap& low = test.sides[index(Side::low)].front();
  EXPECT_STREQ(low.points[2].data.name, "X3-X0");
  EXPECT_NEAR(low.points[2].data.rm, unit.windings[Side::low].resistance, 1e-6);
  EXPECT_TRUE(test.sides[2].empty());
}

TEST(Resistance, CurrentStaysWithinTheSourceAndATenthOfTheRated) {
  FamilySettings settings = family_settings(50);
  const TransformerUnit unit = three_phase_unit();
  const auto high =
      resistance_test(unit, settings).sides[index(Side::high)].front().points.front().data;
  EXPECT_NEAR(high.ia, 0.1 * rated_current(unit, Side::high), 1e-4);
  settings.direct_voltage = 0.5;
  const auto weak =
      resistance_test(unit, settings).sides[index(Side::high)].front().points.front().data;
  EXPECT_NEAR(weak.ua, 0.5, 1e-4);
}

TEST(Resistance, FallsFromTapToTapAsTurnsDo) {
  const TransformerUnit unit = with_tap_changer(three_phase_unit(), KVR_TAP_CHANGER_OLTC);
  const ResistanceTest test = resistance_test(unit, family_settings(50));
  ASSERT_EQ(test.sides[index(Side::high)].size(), 5U);
  for (std::size_t i = 0; i < 5; ++i) {
    const ResistanceTap& tap = test.sides[index(Side::high)][i];
    EXPECT_EQ(tap.tap, static_cast<int>(i) + 1);
    const double turns = 1 + (static_cast<double>(i) - 2) * -0.025;
    EXPECT_NEAR(tap.points[0].data.rm, unit.windings[Side::high].resistance * 2 / 3 * turns, 1e-3);
    ASSERT_EQ(tap.points[0].transition.has_value(), i > 0);
    if (i > 0) {
      EXPECT_EQ(tap.points[0].transition->status, KVR_RES_OK);
      EXPECT_EQ(tap.points[0].transition->from, static_cast<int>(i));
      EXPECT_EQ(tap.points[0].transition->to, static_cast<int>(i) + 1);
    }
    EXPECT_FALSE(tap.points[1].transition.has_value());
  }
  const auto off_load = with_tap_changer(three_phase_unit(), KVR_TAP_CHANGER_DETC);
  const ResistanceTest unwatched = resistance_test(off_load, family_settings(50));
  for (const ResistanceTap& tap : unwatched.sides[index(Side::high)]) {
    EXPECT_FALSE(tap.points[0].transition.has_value());
  }
}

TEST(Resistance, OfASinglePhaseUnitHasOnePoint) {
  const TransformerUnit unit = single_phase_unit();
  const ResistanceTest test = resistance_test(unit, family_settings(60));
  ASSERT_EQ(test.sides[index(Side::high)].front().points.size(), 1U);
  EXPECT_STREQ(test.sides[index(Side::high)].front().points[0].data.name, "H1-H2");
  EXPECT_NEAR(first_reading(test, Side::high), unit.windings[Side::high].resistance, 0.01);
}

TEST(Resistance, NoiseIsThatOfTheSeed) {
  FamilySettings settings = family_settings(50);
  settings.measurement.noise = 1;
  const TransformerUnit unit = three_phase_unit();
  const double first = first_reading(resistance_test(unit, settings), Side::high);
  EXPECT_EQ(first, first_reading(resistance_test(unit, settings), Side::high));
  settings.seed = 2;
  EXPECT_NE(first, first_reading(resistance_test(unit, settings), Side::high));
  EXPECT_NEAR(first, unit.windings[Side::high].resistance * 2 / 3, first * 0.005);
}

TEST(Resistance, ContinuousReadingsFallAsTheCurrentSettles) {
  const TransformerUnit unit = saturating_three_phase_unit();
  const ResistanceTest test = continuous_resistance_test(unit, family_settings(50), 40, 0.5);
  const auto& points = test.sides[index(Side::high)].front().points;
  ASSERT_EQ(points.size(), 40U);
  EXPECT_EQ(test.duration_ms, 20000U);
  EXPECT_EQ(points.front().data.state, KVR_POINT_CHARGING);
  EXPECT_EQ(points.back().data.state, KVR_POINT_STABLE);
  for (std::size_t number = 1; number < points.size(); ++number) {
    EXPECT_LE(points[number].data.rm, points[number - 1].data.rm);
    EXPECT_GE(points[number].data.state, points[number - 1].data.state);
  }
  EXPECT_NEAR(points.back().data.rm, unit.windings[Side::high].resistance * 2 / 3,
              kPermille * points.back().data.rm);
}

TEST(Resistance, IsStableOnceATenThousandthOfTheChangeIsLeft) {
  const ResistanceTest test =
      continuous_resistance_test(saturating_three_phase_unit(), family_settings(50), 2000, 0.01);
  int just_above = 0;
  for (const ResistancePoint& point : test.sides[index(Side::high)].front().points) {
    const float left = point.data.stability;
    EXPECT_EQ(point.data.state == KVR_POINT_STABLE, left <= 0.01F) << left << " %";
    just_above += left > 0.01F && left < 0.02F ? 1 : 0;
  }
  EXPECT_GT(just_above, 0);
}

// The records count milliseconds in 32 bits.
TEST(Resistance, CountsNoTimeBeyondFourMillionSeconds) {
  const ResistanceTest test =
      continuous_resistance_test(saturating_three_phase_unit(), family_settings(50), 3, 1.5e6);
  const auto& points = test.sides[index(Side::high)].front().points;
  EXPECT_EQ(points[1].data.stabilization_ms, 3'000'000'000U);
  EXPECT_EQ(points[2].data.stabilization_ms, 4'000'000'000U);
  EXPECT_EQ(test.duration_ms, 4'000'000'000U);
}

TEST(HeatRun, FollowsTheCoolingCurve) {
  const CoolingCurve curve{25, 60, 600};
  TransformerUnit unit = three_phase_unit();
  const ResistanceTest test = heat_run_test(unit, family_settings(50), curve, 10, 60);
  for (const Side side : kSides) {
    const auto& points = test.sides[index(side)].front().points;
    ASSERT_EQ(points.size(), 10U);
    unit.temperature = 20;
    const double cold = first_reading(resistance_test(unit, family_settings(50)), side);
    for (std::size_t number = 0; number < points.size(); ++number) {
      const double seconds = 60.0 * static_cast<double>(number + 1);
      const double temperature = points[number].data.rm / cold * (234.5 + 20) - 234.5;
      EXPECT_NEAR(temperature, 25 + 60 * std::exp(-seconds / 600), 0.3);
      EXPECT_EQ(points[number].data.stabilization_ms, static_cast<unsigned>(seconds) * 1000);
      EXPECT_EQ(points[number].data.state, KVR_POINT_AUTO_SAVED);
    }
  }
  EXPECT_EQ(temperature_at(curve, 0), 85);
}

// ---- demagnetisation

TEST(Demag, TakesRemanenceDown) {
  TransformerUnit unit = saturating_three_phase_unit();
  const double knee = unit.core.limb.knee_flux;
  unit.core.residual_flux = {0.6 * knee, -0.4 * knee, -0.2 * knee};
  const DemagTest test = demag_test(unit, family_settings(50));
  ASSERT_EQ(test.code, KVR_RES_OK);
  ASSERT_EQ(test.phases.size(), 3U);
  const double initial[] = {0.6, 0.4, 0.2};
  for (std::size_t phase = 0; phase < 3; ++phase) {
    EXPECT_NEAR(test.phases[phase].remanence_initial, initial[phase], 1e-6);
    EXPECT_LT(test.phases[phase].remanence_after_demag, 0.01);
    EXPECT_GT(test.phases[phase].remanence_after_demag, 0);
    EXPECT_NEAR(std::abs(test.residual_flux[phase]) / knee,
                test.phases[phase].remanence_after_demag, 1e-6);
  }
  EXPECT_STREQ(test.phases[0].demag_phase, "H1-H2");
  EXPECT_GT(test.duration_ms, 0U);
}

TEST(Demag, NeedsACoreThatSaturates) {
  const DemagTest test = demag_test(three_phase_unit(), family_settings(50));
  EXPECT_EQ(test.code, KVR_RES_DEMAG_CANNOT_SATURATE);
  EXPECT_TRUE(test.phases.empty());
  EXPECT_EQ(test.duration_ms, 0U);
}

// ---- impedance

TEST(Impedance, IsThatOfTheShortCircuitTest) {
  TransformerUnit unit = three_phase_unit();
  unit.impedance_percent = 4.5;
  FamilySettings settings = family_settings(50);
  settings.corrected_to = unit.temperature;
  const ImpedanceTest test = short_circuit_impedance_test(unit, settings);
  EXPECT_EQ(test.data.test_type, KVR_TEST_SCI);
  ASSERT_EQ(test.tests.size(), 1U);
  const kvr_TestData_Impedance_SingleTest& single = test.tests.front();
  // 495 V drive the rated current of 26.243 A: 4.5 percent of 11 kV, 10.89 ohm a phase.
  const double z = 495 / std::sqrt(3.0) / 26.243;
  const double r = 5500 / (3 * 26.243 * 26.243);
  for (const kvr_TestData_Impedance_Phase& phase : single.phases) {
    EXPECT_EQ(phase.status, KVR_RES_OK);
    EXPECT_EQ(phase.corrected, 0);
    EXPECT_NEAR(phase.z, 2 * z, 2 * z * kPermille);
    EXPECT_NEAR(phase.rs, 2 * r, 2 * r * kPermille);
    EXPECT_NEAR(phase.xs, 2 * std::sqrt(z * z - r * r), 2 * z * kPermille);
    EXPECT_NEAR(phase.z_percent, 4.5, 4.5 * kPermille);
    EXPECT_NEAR(phase.z_percent_error, 0, 0.1);
    EXPECT_NEAR(phase.power_factor, r / z * 100, r / z * 100 * kPermille);
    EXPECT_NEAR(phase.inductance, phase.xs / (100 * std::numbers::pi), 1e-6);
    EXPECT_EQ(phase.capacitance, 0);
    EXPECT_NEAR(phase.curr_rms, 100 / phase.z, 1e-3);
    EXPECT_NEAR(phase.v_ratio, 11000.0 / 433, 1e-6);
  }
  EXPECT_NEAR(single.avg_z, 2 * z, 2 * z * kPermille);
  EXPECT_NEAR(single.avg_z_percent, 4.5, 4.5 * kPermille);
  EXPECT_NE(single.phase_mode, 1);
  EXPECT_STREQ(single.phases[1].phase_name, "B");
  EXPECT_STREQ(single.phases[1].high_side_phase, "H2-H1");
}

TEST(Impedance, IsCorrectedByItsCopperAndItsStrayPart) {
  const TransformerUnit unit = three_phase_unit();
  const ImpedanceTest test = short_circuit_impedance_test(unit, family_settings(50));
  const kvr_TestData_Impedance_Phase& phase = test.tests.front().phases[0];
  EXPECT_EQ(phase.corrected, 1);
  EXPECT_EQ(test.data.setup.temperature_from, 20);
  EXPECT_EQ(test.data.setup.temperature_to, 75);
  const double r = 2 * 5500 / (3 * 26.243 * 26.243);
  const double copper = r / 1.1;  // a tenth of it is stray
  EXPECT_NEAR(phase.rs, copper * 1.2161 + (r - copper) / 1.2161, r * 2 * kPermille);
}

TEST(Impedance, NamesTheLinesOfEachPhaseAndThoseThatAreJoined) {
  const auto lines = [](const TransformerUnit& unit) {
    const ImpedanceTest test = short_circuit_impedance_test(unit, family_settings(50));
    std::string text;
    for (const kvr_TestData_Impedance_Phase& phase : test.tests.front().phases) {
      text += std::string(phase.phase_name) + " " + phase.high_side_phase + " " +
              phase.low_side_phase + "; ";
    }
    return text;
  };
  EXPECT_EQ(lines(three_phase_unit()), "A H1-H3 X1-X2-X3; B H2-H1 X1-X2-X3; C H3-H2 X1-X2-X3; ");
  EXPECT_EQ(lines(single_phase_unit()), "A H1-H2 X1-X2;   ;   ; ");
}

TEST(Impedance, SetupHoldsTheFrequencyAndTheTemperaturesOfTheTest) {
  FamilySettings settings = family_settings(60);
  settings.corrected_to = 85;
  TransformerUnit unit = three_phase_unit();
  unit.temperature = 31;
  for (const kvr_TestSetup& setup : {short_circuit_impedance_test(unit, settings).data.setup,
                                     stray_loss_response_test(unit, settings, {100}).data.setup}) {
    EXPECT_EQ(setup.line_frequency, 60);
    EXPECT_EQ(setup.temperature_from, 31);
    EXPECT_EQ(setup.temperature_to, 85);
  }
}

TEST(Impedance, OfASinglePhaseUnitIsReadFromTheFirstPhase) {
  FamilySettings settings = family_settings(60);
  settings.corrected_to = 20;
  const ImpedanceTest test = short_circuit_impedance_test(single_phase_unit(), settings);
  const kvr_TestData_Impedance_SingleTest& single = test.tests.front();
  EXPECT_EQ(single.phase_mode, 1);
  EXPECT_NEAR(single.phases[0].z, 489 / 2.5, 489 / 2.5 * kPermille);
  EXPECT_NEAR(single.phases[0].rs, 38.4, 38.4 * kPermille);
  EXPECT_NEAR(single.phases[0].xs, 191.8, 191.8 * kPermille);
  EXPECT_NEAR(single.phases[0].z_percent, 489.0 / 8000 * 100, 0.01);
  EXPECT_EQ(single.phases[1].status, KVR_RES_NOT_TESTED);
}

TEST(Impedance, StrayLossesRiseWithTheSquareOfTheFrequency) {
  const ImpedanceTest test =
      stray_loss_response_test(three_phase_unit(), family_settings(50), {50, 100, 200, 400});
  EXPECT_EQ(test.data.test_type, KVR_TEST_FRSL);
  ASSERT_EQ(test.tests.size(), 4U);
  const double copper = 2 * 5500 / (3 * 26.243 * 26.243) / 1.1;
  for (const kvr_TestData_Impedance_SingleTest& single : test.tests) {
    const kvr_TestData_Impedance_Phase& phase = single.phases[0];
    const double share = 0.1 * std::pow(phase.test_frequency / 50, 2);
    EXPECT_NEAR(phase.rs, copper * (1 + share), copper * (1 + share) * 0.005);
    EXPECT_EQ(phase.corrected, 0);
  }
  EXPECT_EQ(test.tests[3].phases[0].test_frequency, 400);
}

// ---- losses

TEST(Efficiency, LossesAreThoseOfTheTests) {
  FamilySettings settings = family_settings(50);
  settings.corrected_to = 20;
  TransformerUnit unit = three_phase_unit();
  const kvr_TestData_Efficiency data = efficiency_test(unit, settings);
  // The unit was made from 1000 W on rated voltage and 5500 W on rated current.
  EXPECT_NEAR(data.total_no_load_losses, 1000, 1000 * kPermille);
  EXPECT_NEAR(data.total_load_losses, 5500, 5500 * kPermille);
  EXPECT_NEAR(data.total_losses, data.total_load_losses + data.total_no_load_losses, 0.01);
  EXPECT_NEAR(data.total_hysteresis, 600, 5);
  EXPECT_NEAR(data.total_eddy_current, 400, 5);
  EXPECT_NEAR(data.efficiency_percent, 500e3 / (500e3 + 6500) * 100, 0.01);
  EXPECT_EQ(data.fast_mode, 0);
  double load = 0;
  for (const kvr_TestData_Efficiency_Phase& phase : data.phases) {
    EXPECT_EQ(phase.status, KVR_RES_OK);
    EXPECT_EQ(phase.corrected, 0);
    EXPECT_NEAR(phase.ratio_tnr, 44.0013, 0.0001);
    EXPECT_NEAR(phase.load_losses, phase.load_i2r + phase.load_stray_eddy, 0.01);
    EXPECT_NEAR(phase.load_stray_eddy / phase.load_i2r, 0.1, 0.002);
    EXPECT_NEAR(phase.no_load_losses, phase.hysteresis + phase.eddy_current + phase.i2r_no_load,
                0.01);
    EXPECT_NEAR(phase.total_losses, phase.load_losses + phase.no_load_losses, 0.01);
    load += phase.load_losses;
  }
  EXPECT_NEAR(load, data.total_load_losses, 0.01);
}

TEST(Efficiency, LoadLossesAgreeWithTheImpedanceTest) {
  const TransformerUnit unit = three_phase_unit();
  const FamilySettings settings = family_settings(50);
  const kvr_TestData_Efficiency data = efficiency_test(unit, settings);
  const ImpedanceTest impedance = short_circuit_impedance_test(unit, settings);
  const double current = rated_current(unit, Side::high);
  EXPECT_EQ(data.phases[0].corrected, 1);
  for (std::size_t phase = 0; phase < 3; ++phase) {
    EXPECT_NEAR(data.phases[phase].load_losses,
                current * current * impedance.tests[0].phases[phase].rs / 2,
                data.phases[phase].load_losses * kPermille);
  }
}

TEST(Efficiency, OfASinglePhaseUnitStandsInTheFirstPhase) {
  FamilySettings settings = family_settings(60);
  settings.corrected_to = 20;
  const kvr_TestData_Efficiency data = efficiency_test(single_phase_unit(), settings);
  EXPECT_NEAR(data.phases[0].no_load_losses, 400, 0.4);
  EXPECT_NEAR(data.phases[0].load_losses, 240, 0.24);  // rated current is that of the test
  EXPECT_NEAR(data.phases[0].noload_eddy_resistance_measured, 8000.0 * 8000 / 200, 2000);
  EXPECT_EQ(data.phases[1].status, KVR_RES_NOT_TESTED);
  EXPECT_NEAR(data.total_losses, 640, 0.64);
}

// ---- core

TEST(MagneticBalance, SharesTheVoltageAsTheCoreSharesFlux) {
  FamilySettings settings = family_settings(50);
  settings.test_voltage = 84;
  const MagneticBalanceTest test = magnetic_balance_test(three_phase_unit(), settings);
  ASSERT_EQ(test.code, KVR_RES_OK);
  EXPECT_NE(test.data.side, 0U);
  const double expected[3][3] = {{84, 56, 28}, {42, 84, 42}, {28, 56, 84}};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      EXPECT_NEAR(test.data.rows[row].cell[column].value, expected[row][column], 0.084);
    }
    EXPECT_NEAR(test.data.rows[row].total, 168, 0.2);
  }
  EXPECT_STREQ(test.data.rows[0].high_label, "H1-H2");
  EXPECT_STREQ(test.data.rows[0].low_label, "X1-X0");
  EXPECT_NEAR(test.data.max_imbalance, 0, 0.01);
}

TEST(MagneticBalance, ShowsShortedTurns) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.shorted_turns = {{Side::low, 2, 0.02, 0}};
  const MagneticBalanceTest test = magnetic_balance_test(unit, family_settings(50));
  EXPECT_GT(test.data.max_imbalance, 10);
  EXPECT_LT(test.data.rows[0].cell[2].value, 10);  // no flux passes the faulty limb
}

TEST(MagneticBalance, IsMadeOnTheSideWhoseLimbsCanBeReached) {
  TransformerUnit unit = three_phase_unit();
  unit.group = {KVR_WINDING_Y, KVR_WINDING_D, 1};
  const MagneticBalanceTest low = magnetic_balance_test(unit, family_settings(50));
  EXPECT_EQ(low.code, KVR_RES_OK);
  EXPECT_EQ(low.data.side, 0U);
  unit.group = {KVR_WINDING_Y, KVR_WINDING_Y, 0};
  EXPECT_EQ(magnetic_balance_test(unit, family_settings(50)).code,
            KVR_RES_TESTING_METHOD_NOT_SUPPORTED);
}

TEST(Excitation, TheMiddleLimbDrawsThreeQuarters) {
  const ThreePhaseRatio test = excitation_test(three_phase_unit(), family_settings(50));
  ASSERT_EQ(test.code, KVR_RES_OK);
  EXPECT_EQ(test.data.test_type, KVR_TEST_EXCITATION);
  // H3-H2 lies on the middle limb.
  EXPECT_STREQ(test.data.phases[2].high_side_phase, "H3-H2");
  EXPECT_NEAR(test.data.phases[2].current_rms / test.data.phases[0].current_rms, 0.75, 0.00075);
  EXPECT_NEAR(test.data.phases[1].current_rms / test.data.phases[0].current_rms, 1, 0.001);
}

TEST(Excitation, SetupHoldsTheFrequencyOfTheTest) {
  const ThreePhaseRatio test = excitation_test(three_phase_unit(), family_settings(60));
  EXPECT_EQ(test.data.setup.line_frequency, 60);
  EXPECT_NEAR(test.data.phases[0].frequency, 60, 0.01);
}

TEST(Excitation, OfASinglePhaseUnitIsItsOpenCircuitCurrent) {
  FamilySettings settings = family_settings(60);
  settings.test_voltage = 8000;
  const kvr_TestData_Ratio_1ph data = single_phase_excitation_test(single_phase_unit(), settings);
  EXPECT_NEAR(data.phase.current_rms, 0.214, 0.214 * kPermille);
  EXPECT_NEAR(data.phase.tnr, 8000.0 / 240, 0.2);
}

TEST(GoNoGo, AHealthyUnitGoes) {
  const kvr_TestData_GoNoGo data = go_no_go_test(three_phase_unit(), family_settings(50));
  EXPECT_EQ(data.status_open_circuit, KVR_RES_OK);
  EXPECT_EQ(data.status_short_circuit, KVR_RES_OK);
  EXPECT_EQ(data.status_minimum_inductance, KVR_RES_OK);
}

TEST(GoNoGo, AnOpenLeadShowsAtEitherEndOfAWinding) {
  for (int terminal = 0; terminal < 4; ++terminal) {
    TransformerUnit unit = three_phase_unit();
    unit.faults.open_lead[Side::low][static_cast<std::size_t>(terminal)] = true;
    EXPECT_EQ(go_no_go_test(unit, family_settings(50)).status_open_circuit, KVR_RES_OPEN_CIRCUIT_X)
        << terminal;
  }
  for (const int terminal : {1, 2}) {
    TransformerUnit unit = single_phase_unit();
    unit.faults.open_lead[Side::high][static_cast<std::size_t>(terminal)] = true;
    EXPECT_EQ(go_no_go_test(unit, family_settings(60)).status_open_circuit, KVR_RES_OPEN_CIRCUIT_H)
        << terminal;
  }
}

TEST(GoNoGo, FaultsShow) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.shorted_turns = {{Side::high, 0, 0.2, 0}};
  EXPECT_EQ(go_no_go_test(unit, family_settings(50)).status_short_circuit, KVR_RES_SHORT_CIRCUIT_H);
  unit = three_phase_unit();
  unit.faults.open_lead[Side::low][2] = true;
  const kvr_TestData_GoNoGo open = go_no_go_test(unit, family_settings(50));
  EXPECT_EQ(open.status_open_circuit, KVR_RES_OPEN_CIRCUIT_X);
  EXPECT_EQ(open.status_short_circuit, KVR_RES_NOT_TESTED);
  unit.faults.open_lead[Side::high][1] = true;
  EXPECT_EQ(go_no_go_test(unit, family_settings(50)).status_open_circuit, KVR_RES_OPEN_CIRCUIT_H);
  FamilySettings settings = family_settings(50);
  settings.minimum_inductance = 1e6;
  EXPECT_EQ(go_no_go_test(three_phase_unit(), settings).status_minimum_inductance,
            KVR_RES_INDUCTANCE_TOO_LOW);
}

TEST(GoNoGo, ComparesTheInductanceWithTheSmallestOne) {
  // The magnetizing reactance of 38.45 kohm beside 160 kohm of losses, at 60 Hz.
  constexpr double kReactance = 38.45e3 / (1 + 38.45e3 * 38.45e3 / (160e3 * 160e3));
  constexpr double kInductance = kReactance / (2 * std::numbers::pi * 60);
  FamilySettings settings = family_settings(60);
  const auto status = [&settings](double smallest) {
    settings.minimum_inductance = smallest;
    return go_no_go_test(single_phase_unit(), settings).status_minimum_inductance;
  };
  EXPECT_EQ(status(0.98 * kInductance), KVR_RES_OK);
  EXPECT_EQ(status(1.02 * kInductance), KVR_RES_INDUCTANCE_TOO_LOW);
}

// ---- tap changer

TEST(DynamicResistance, FindsEachTransitionByItsDip) {
  const TransformerUnit unit = with_tap_changer(three_phase_unit(), KVR_TAP_CHANGER_OLTC);
  const DynamicResistanceTest test = dynamic_resistance_test(unit, family_settings(50));
  ASSERT_EQ(test.code, KVR_RES_OK);
  ASSERT_EQ(test.transitions.size(), 4U);
  EXPECT_EQ(test.data.transition_count, 4U);
  for (std::size_t number = 0; number < 4; ++number) {
    const kvr_TestData_Drm_Transition& each = test.transitions[number];
    EXPECT_NEAR(each.start_time, 200.0 * static_cast<double>(number + 1), 5);
    // The contacts move for 44 ms; then the current recovers.
    EXPECT_GE(each.end_time - each.start_time, 43U);
    EXPECT_LE(each.end_time - each.start_time, 120U);
  }
}

TEST(DynamicResistance, FindsNoTransitionThatDoesNotShow) {
  TransformerUnit unit = with_tap_changer(three_phase_unit(), KVR_TAP_CHANGER_OLTC);
  unit.taps.transition_resistance = 0;
  const DynamicResistanceTest test = dynamic_resistance_test(unit, family_settings(50));
  EXPECT_EQ(test.code, KVR_RES_OK);
  EXPECT_EQ(test.data.transition_count, 0U);
  EXPECT_TRUE(test.transitions.empty());
}

/// The times at which transitions are found to begin and to end, in ms.
std::string times_of(const DynamicResistanceTest& test) {
  std::string text;
  for (const kvr_TestData_Drm_Transition& each : test.transitions) {
    text += std::to_string(each.start_time) + "-" + std::to_string(each.end_time) + " ";
  }
  return text;
}

// Without a resistance of the source the current takes longer to recover.
TEST(DynamicResistance, ASourceThatGivesItsVoltageIsNotInTheWay) {
  const auto unit = with_tap_changer(three_phase_unit(), KVR_TAP_CHANGER_OLTC);
  FamilySettings settings = family_settings(50);
  EXPECT_EQ(times_of(dynamic_resistance_test(unit, settings)), "200-306 400-506 600-707 800-908 ");
  settings.direct_voltage = 1;
  EXPECT_EQ(times_of(dynamic_resistance_test(unit, settings)), "200-363 400-566 600-768 800-971 ");
}

TEST(DynamicResistance, NeedsATapChangerUnderLoad) {
  const auto unit = with_tap_changer(three_phase_unit(), KVR_TAP_CHANGER_DETC);
  const DynamicResistanceTest test = dynamic_resistance_test(unit, family_settings(50));
  EXPECT_EQ(test.code, KVR_RES_OLTC_TAPCHANGER_MISSING);
  EXPECT_EQ(test.data.transition_count, 0U);
}

// ---- nests

struct DeleteData {
  template <typename Data>
  void operator()(Data* data) const {
    free_nest(data);
  }
};

template <typename Data>
std::unique_ptr<Data, DeleteData> owned(Data* data) {
  return std::unique_ptr<Data, DeleteData>(data);
}

TEST(NestedRecords, AResistanceTestHangsBySideTapAndPoint) {
  const auto unit = with_tap_changer(three_phase_unit(), KVR_TAP_CHANGER_OLTC);
  const ResistanceTest test = resistance_test(unit, family_settings(50));
  const auto data = owned(new_data(test));
  EXPECT_EQ(data->duration_ms, test.duration_ms);
  ASSERT_NE(data->sides->primary, nullptr);
  ASSERT_EQ(data->sides->primary->count, 5U);
  const kvr_TestData_Tap* tap = data->sides->primary->taps[1];
  EXPECT_EQ(tap->tap, 2);
  ASSERT_EQ(tap->point_count, 3U);
  EXPECT_STREQ(tap->points[0]->name, "H1-H3");
  ASSERT_NE(tap->points[0]->transition, nullptr);
  EXPECT_EQ(tap->points[0]->transition->to, 2);
  EXPECT_EQ(tap->points[1]->transition, nullptr);
  EXPECT_EQ(data->sides->secondary->count, 1U);
  EXPECT_EQ(data->sides->tertiary, nullptr);
}

TEST(NestedRecords, OtherNestsHoldWhatTheirValuesHold) {
  TransformerUnit unit = with_tap_changer(saturating_three_phase_unit(), KVR_TAP_CHANGER_OLTC);
  const FamilySettings settings = family_settings(50);
  const auto demag = owned(new_data(demag_test(unit, settings)));
  ASSERT_EQ(demag->phase_count, 3U);
  EXPECT_STREQ(demag->phases[2]->demag_phase, "H3-H1");
  const auto impedance = owned(new_data(stray_loss_response_test(unit, settings, {50, 100})));
  ASSERT_EQ(impedance->tests->count, 2U);
  EXPECT_EQ(impedance->tests->tests[1].phases[0].test_frequency, 100);
  const auto drm = owned(new_data(dynamic_resistance_test(unit, settings)));
  ASSERT_NE(drm->first_transition, nullptr);
  EXPECT_EQ(drm->transition_count, 4U);
  const auto none = owned(new_data(dynamic_resistance_test(three_phase_unit(), settings)));
  EXPECT_EQ(none->first_transition, nullptr);
  const auto excitation = owned(new_data(excitation_test(unit, settings)));
  EXPECT_EQ(excitation->step_up, nullptr);
  EXPECT_EQ(excitation->step_down, nullptr);
}

TEST(NestedRecords, NothingIsDeletedForNull) {
  free_nest(static_cast<kvr_TestData_Ratio_3ph*>(nullptr));
  free_nest(static_cast<kvr_TestData_Resistance*>(nullptr));
  free_nest(static_cast<kvr_TestData_Demag*>(nullptr));
  free_nest(static_cast<kvr_TestData_Impedance*>(nullptr));
  free_nest(static_cast<kvr_TestData_Drm*>(nullptr));
}

}  // namespace
}  // namespace virtual_instrument

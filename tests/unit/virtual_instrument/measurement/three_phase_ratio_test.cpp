#include "virtual_instrument/measurement/three_phase_ratio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "record_form/record_shape.h"
#include "unit/virtual_instrument/measurement/three_phase_measuring.h"
#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/model/phasor.h"
#include "virtual_instrument/recording/nested_records.h"

namespace virtual_instrument {
namespace {

double off_clock(double radians, int clock) {
  return std::remainder(degrees(radians) - 30.0 * clock, 360);
}

struct Direction {
  kvr_TestType type;
  kvr_TestingMode mode;
};

class EveryGroup : public testing::TestWithParam<Direction> {};

TEST_P(EveryGroup, ReadsItsClockAndItsTurns) {
  TransformerUnit unit = three_phase_unit();
  for (const WindingGroup& group : three_phase_groups()) {
    const double ratio = unit.rated_voltage[Side::high] / unit.rated_voltage[Side::low];
    unit.group = group;
    kvr_Ratio3phRequest request = request_for(unit, GetParam().type, GetParam().mode);
    request.test_voltage = GetParam().type == KVR_TEST_RATIO_UP ? 20 : 200;
    const ThreePhaseRatio result = measure(unit, request);
    SCOPED_TRACE(group_name(group));
    ASSERT_EQ(result.code, KVR_RES_OK);
    const double turns = ratio * turns_factor(group);
    EXPECT_NEAR(off_clock(result.data.phase_3ph, group.clock), 0, 0.01);
    EXPECT_NEAR(result.data.ratio_3ph / turns, 1, 0.003);
    EXPECT_NEAR(result.data.tvr_multiplier, turns_factor(group), 1e-9);
    for (const kvr_TestData_Ratio_Phase& phase : result.data.phases) {
      EXPECT_EQ(phase.status, KVR_RES_OK);
      EXPECT_NEAR(off_clock(phase.phase_shift_absolute, group.clock), 0, 0.15) << phase.phase_name;
      EXPECT_NEAR(phase.phase_deviation_from_user_phasing, 0, radians(0.15)) << phase.phase_name;
      EXPECT_NEAR(phase.tnr / turns, 1, 0.005) << phase.phase_name;
      EXPECT_NEAR(phase.tvr / ratio, 1, 0.005) << phase.phase_name;
      EXPECT_NEAR(phase.tnr_error, (phase.tnr / turns - 1) * 100, 0.001);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Directions, EveryGroup,
                         testing::Values(Direction{KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_3_3},
                                         Direction{KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_3_3},
                                         Direction{KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_3_1},
                                         Direction{KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_1_1},
                                         Direction{KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_1_1}));

TEST(ThreePhaseRatio, ADyn11UnitReadsItsTurnsBetweenItsTerminals) {
  const ThreePhaseRatio result = measure(three_phase_unit(), step_down(three_phase_unit()));
  ASSERT_EQ(result.code, KVR_RES_OK);
  const kvr_TestData_Ratio_3ph& data = result.data;
  EXPECT_NEAR(data.reference_ratio * data.tvr_multiplier, 44.0013, 0.0001);
  EXPECT_NEAR(data.ratio_3ph, 44.0013, 44.0013 * 0.001);
  EXPECT_NEAR(data.ratio_3ph_error, (data.ratio_3ph / 44.00130 - 1) * 100, 0.001);
  EXPECT_STREQ(data.phases[0].phase_name, "A");
  EXPECT_STREQ(data.phases[0].high_side_phase, "H1-H3");
  EXPECT_STREQ(data.phases[0].low_side_phase, "X0-X3");
  EXPECT_STREQ(data.phases[2].high_side_phase, "H3-H2");
  EXPECT_STREQ(data.phases[2].low_side_phase, "X0-X2");
  EXPECT_STREQ(data.phases[1].tvr_name, "B");
  EXPECT_STREQ(data.phases[1].tvr_high, "H2-H1");
  EXPECT_STREQ(data.phases[1].tvr_low, "X2-X1");
  EXPECT_EQ(data.testing_mode, KVR_TESTING_MODE_3PH_3_3);
  EXPECT_EQ(data.test_type, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(data.health_state, KVR_HEALTH_EXCELLENT);
  EXPECT_FALSE(result.step_up.has_value());
  EXPECT_FALSE(result.step_down.has_value());
  EXPECT_TRUE(result.raw_data.empty());
}

TEST(ThreePhaseRatio, RatiosOfLinesAreNamedByLinesWherePhasesAreNot) {
  TransformerUnit unit = three_phase_unit();
  unit.group = {KVR_WINDING_YN, KVR_WINDING_YN, 0};
  const ThreePhaseRatio result = measure(unit, step_down(unit));
  std::string names;
  for (const kvr_TestData_Ratio_Phase& phase : result.data.phases) {
    names += std::string(phase.high_side_phase) + " " + phase.low_side_phase + ", " +
             phase.tvr_high + " " + phase.tvr_low + "; ";
  }
  EXPECT_EQ(names,
            "H1-H0 X1-X0, H1-H3 X1-X3; H2-H0 X2-X0, H2-H1 X2-X1; H3-H0 X3-X0, H3-H2 X3-X2; ");
}

TEST(ThreePhaseRatio, PhasesBesideAnOpenLeadHaveTheirRatioBothWays) {
  for (const kvr_TestType type : {KVR_TEST_RATIO_DOWN, KVR_TEST_RATIO_UP}) {
    for (std::size_t open = 1; open <= 3; ++open) {
      TransformerUnit unit = three_phase_unit();
      unit.group = {KVR_WINDING_YN, KVR_WINDING_YN, 0};
      unit.faults.open_lead[type == KVR_TEST_RATIO_DOWN ? Side::low : Side::high][open] = true;
      kvr_Ratio3phRequest request = request_for(unit, type, KVR_TESTING_MODE_3PH_3_3);
      request.test_voltage = 10;
      const ThreePhaseRatio result = measure(unit, request);
      int tested = 0;
      for (const kvr_TestData_Ratio_Phase& phase : result.data.phases) {
        if (phase.status == KVR_RES_OK) {
          ++tested;
          EXPECT_NEAR(phase.tnr, 11000.0 / 433, 0.03) << type << " " << open;
          EXPECT_NEAR(phase.tvr, 11000.0 / 433, 0.03) << type << " " << open;
          EXPECT_NEAR(phase.phase_shift_absolute, 0, 0.001) << type << " " << open;
        }
      }
      EXPECT_EQ(tested, 2) << type << " " << open;
    }
  }
}

TEST(ThreePhaseRatio, ALowSideThatShowsNothingHasNoPhases) {
  TransformerUnit unit = three_phase_unit();
  unit.rated_voltage[Side::low] = 433e-7;
  Bench bench = quiet_bench();
  bench.measurement.smallest_voltage = 0;
  const ThreePhaseRatio result = measure(unit, step_down(unit), bench);
  EXPECT_EQ(result.code, KVR_RES_CANNOT_DETECT_PHASING);
}

TEST(ThreePhaseRatio, ReadingsOfAPhaseAgreeWithEachOther) {
  const ThreePhaseRatio result = measure(three_phase_unit(), step_down(three_phase_unit()));
  const double phase_angle[] = {0, -120, 120};
  for (int phase = 0; phase < 3; ++phase) {
    const kvr_TestData_Ratio_Phase& each = result.data.phases[phase];
    EXPECT_NEAR(each.voltage_h, 100, 0.001);
    EXPECT_NEAR(each.voltage_h / each.voltage_x, each.tnr, each.tnr * 1e-6);
    EXPECT_NEAR(each.vol_rms_high, each.voltage_h, 0.001);
    EXPECT_NEAR(each.vol_rms_low, each.voltage_x, 0.001);
    EXPECT_NEAR(each.voltage_rms, 100, 0.001);
    EXPECT_NEAR(each.induced_voltage, each.voltage_x, 0.001);
    EXPECT_NEAR(each.true_ratio, each.tnr, each.tnr * 1e-6);
    EXPECT_NEAR(each.frequency, 50, 0.001);
    EXPECT_NEAR(each.curr_h, each.current_rms, 1e-6);
    EXPECT_EQ(each.curr_x, 0);
    EXPECT_NEAR(degrees(each.phase_high), phase_angle[phase], 0.001);
    EXPECT_NEAR(std::remainder(degrees(each.phase_low) - phase_angle[phase] - 30, 360), 0, 0.15);
    // Without an entered phasing, the deviation counts from the nearest hour.
    EXPECT_NEAR(degrees(each.phase_deviation_from_user_phasing),
                off_clock(each.phase_shift_absolute, 11), 0.001);
  }
  // Outer limbs take more current than the middle one; their sum is that of the unit: 1000 W of
  // 3000 VA at rated voltage.
  const double watts_factor =
      (std::cos(result.data.phases[0].efi) + std::cos(result.data.phases[1].efi) +
       std::cos(result.data.phases[2].efi)) /
      3;
  EXPECT_NEAR(watts_factor, 1.0 / 3, 0.05);
}

TEST(ThreePhaseRatio, SequenceComponentsAreThoseOfTheLines) {
  const kvr_TestData_Ratio_3ph data =
      measure(three_phase_unit(), step_down(three_phase_unit())).data;
  EXPECT_NEAR(data.positive_seq_hi, 100 / std::sqrt(3.0), 0.001);
  EXPECT_NEAR(degrees(data.positive_phase_hi), 0, 0.001);
  EXPECT_NEAR(data.positive_seq_lo, 100 / data.ratio_3ph, 0.001);
  EXPECT_NEAR(degrees(data.positive_phase_lo), 30, 0.01);
  EXPECT_NEAR(data.negative_seq_hi, 0, 1e-6);
  EXPECT_NEAR(data.zero_seq_hi, 0, 1e-6);
  EXPECT_NEAR(data.negative_seq_lo, data.negative_distortion_index * data.positive_seq_lo, 1e-6);
  EXPECT_LT(data.negative_distortion_index, 0.001);
  EXPECT_LT(data.zero_distortion_index, 0.001);
}

TEST(ThreePhaseRatio, WithoutANameplateThereIsNoError) {
  kvr_Ratio3phRequest request = step_down(three_phase_unit());
  request.setup.windings[0].voltage = 0;
  request.setup.windings[1].voltage = 1;
  const ThreePhaseRatio result = measure(three_phase_unit(), request);
  EXPECT_EQ(result.data.reference_ratio, 0);
  EXPECT_EQ(result.data.ratio_3ph_error, 0);
  EXPECT_EQ(result.data.phases[0].tnr_error, 0);
  EXPECT_NEAR(result.data.ratio_3ph, 44.0013, 0.05);
}

TEST(ThreePhaseRatio, AutomaticModeUsesOneSourceForOnePhase) {
  kvr_Ratio3phRequest request =
      request_for(three_phase_unit(), KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_AUTO);
  EXPECT_EQ(measure(three_phase_unit(), request).data.testing_mode, KVR_TESTING_MODE_3PH_3_3);
  request.tested_phase = 1;
  const ThreePhaseRatio result = measure(three_phase_unit(), request);
  ASSERT_EQ(result.code, KVR_RES_OK);
  EXPECT_EQ(result.data.testing_mode, KVR_TESTING_MODE_3PH_1_1);
  EXPECT_EQ(result.data.tested_phase, 1);
  EXPECT_EQ(result.data.phases[0].status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(result.data.phases[1].status, KVR_RES_OK);
  EXPECT_EQ(result.data.phases[2].status, KVR_RES_NOT_TESTED);
  EXPECT_NEAR(result.data.phases[1].tnr, 44.0013, 0.1);
  EXPECT_EQ(result.data.health_state, KVR_HEALTH_UNKNOWN);
}

TEST(ThreePhaseRatio, TheMiddleLimbDrawsLessWhenExcitedAlone) {
  const kvr_Ratio3phRequest request =
      request_for(three_phase_unit(), KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_1_1);
  const ThreePhaseRatio result = measure(three_phase_unit(), request);
  EXPECT_STREQ(result.data.phases[2].high_side_phase, "H3-H2");
  EXPECT_NEAR(result.data.phases[2].current_rms / result.data.phases[0].current_rms, 0.75, 0.00075);
}

// ---- directions

TEST(ThreePhaseRatio, AnAutomaticTestNestsBothDirections) {
  kvr_Ratio3phRequest request =
      request_for(three_phase_unit(), KVR_TEST_RATIO_AUTO, KVR_TESTING_MODE_3PH_AUTO);
  request.test_voltage = 50;
  const ThreePhaseRatio result = measure(three_phase_unit(), request);
  ASSERT_EQ(result.code, KVR_RES_OK);
  EXPECT_EQ(result.data.test_type, KVR_TEST_RATIO_DOWN);
  ASSERT_TRUE(result.step_down && result.step_up);
  EXPECT_EQ(result.step_down->test_type, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(result.step_up->test_type, KVR_TEST_RATIO_UP);
  EXPECT_EQ(result.step_down->ratio_3ph, result.data.ratio_3ph);
  // The drop on the excited side makes the ratio too high one way and too low the other way.
  EXPECT_GT(result.step_down->ratio_3ph, 44.0013);
  EXPECT_LT(result.step_up->ratio_3ph, 44.0013);
  EXPECT_EQ(result.step_up->phases[0].curr_h, 0);
  EXPECT_GT(result.step_up->phases[0].curr_x, 0);
  EXPECT_NEAR(result.step_up->phases[0].induced_voltage, 50 * 44.0013, 5);
}

TEST(ThreePhaseRatio, AnAutomaticTestStepsUpWithLessWhereTheHighSideNeedsIt) {
  Bench bench = quiet_bench();
  bench.instrument.maximum_induced_voltage = 440;
  kvr_Ratio3phRequest request =
      request_for(three_phase_unit(), KVR_TEST_RATIO_AUTO, KVR_TESTING_MODE_3PH_3_3);
  const ThreePhaseRatio result = measure(three_phase_unit(), request, bench);
  ASSERT_TRUE(result.step_up);
  EXPECT_NEAR(result.step_up->test_voltage, 9, 0.05);
  EXPECT_NEAR(result.step_up->phases[0].induced_voltage, 0.9 * 440, 1);
  EXPECT_EQ(result.data.test_voltage, 100);
}

TEST(ThreePhaseRatio, AnAutomaticTestSettlesOnStepUpWhereStepDownGivesTooLittle) {
  Bench bench = quiet_bench();
  bench.measurement.smallest_voltage = 0.2;
  kvr_Ratio3phRequest request =
      request_for(three_phase_unit(), KVR_TEST_RATIO_AUTO, KVR_TESTING_MODE_3PH_3_3);
  request.test_voltage = 8;
  const ThreePhaseRatio result = measure(three_phase_unit(), request, bench);
  EXPECT_EQ(result.data.test_type, KVR_TEST_RATIO_UP);
  ASSERT_TRUE(result.step_down && result.step_up);
  EXPECT_EQ(result.data.ratio_3ph, result.step_up->ratio_3ph);
}

TEST(ThreePhaseRatio, StepUpIsRefusedWhereTheHighSideWouldSeeTooMuch) {
  kvr_Ratio3phRequest request =
      request_for(three_phase_unit(), KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_3_3);
  request.test_voltage = 200;
  Bench bench = quiet_bench();
  bench.instrument.maximum_current = 100;
  EXPECT_EQ(measure(three_phase_unit(), request, bench).code, KVR_RES_INDUCED_VOLTAGE_TOO_HIGH);
  request.testing_mode = KVR_TESTING_MODE_3PH_1_1;
  EXPECT_EQ(measure(three_phase_unit(), request, bench).code, KVR_RES_INDUCED_VOLTAGE_TOO_HIGH);
}

TEST(ThreePhaseRatio, StepUpIsRefusedForAHighRatio) {
  TransformerUnit unit = three_phase_unit();
  unit.rated_voltage[Side::low] = 11;
  kvr_Ratio3phRequest request = request_for(unit, KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_3_3);
  request.test_voltage = 1;
  EXPECT_EQ(measure(unit, request).code, KVR_STEPUP_RATIO_TOO_HIGH);
  request.test_type = KVR_TEST_RATIO_AUTO;
  const ThreePhaseRatio both = measure(unit, request);
  EXPECT_EQ(both.code, KVR_RES_OK);
  EXPECT_FALSE(both.step_up.has_value());
}

// ---- phasing

TEST(ThreePhaseRatio, DeviationIsCountedFromTheEnteredPhasing) {
  kvr_Ratio3phRequest request = step_down(three_phase_unit());
  request.setup.connections[0].clock = 11;
  const ThreePhaseRatio right = measure(three_phase_unit(), request);
  EXPECT_NEAR(right.data.phases[0].phase_deviation_from_user_phasing, 0, 0.002);
  for (const kvr_TestingMode mode : {KVR_TESTING_MODE_3PH_3_3, KVR_TESTING_MODE_3PH_1_1}) {
    request.testing_mode = mode;
    request.setup.connections[0].clock = 1;
    const ThreePhaseRatio wrong = measure(three_phase_unit(), request);
    ASSERT_EQ(wrong.code, KVR_RES_OK);
    for (const kvr_TestData_Ratio_Phase& phase : wrong.data.phases) {
      EXPECT_NEAR(degrees(phase.phase_deviation_from_user_phasing), -60, 0.15);
      EXPECT_NEAR(phase.tnr, 44.0013, 0.1);
    }
    EXPECT_EQ(wrong.data.health_state, KVR_HEALTH_BAD);
  }
}

TEST(ThreePhaseRatio, HalfATurnHasASmallDeviationFromItsClock) {
  TransformerUnit unit = three_phase_unit();
  unit.group = parse_group("Yy6").value();
  for (const kvr_TestingMode mode : {KVR_TESTING_MODE_3PH_3_3, KVR_TESTING_MODE_3PH_1_1}) {
    kvr_Ratio3phRequest request = request_for(unit, KVR_TEST_RATIO_DOWN, mode);
    request.setup.connections[0].clock = 6;
    for (const kvr_TestData_Ratio_Phase& phase : measure(unit, request).data.phases) {
      EXPECT_NEAR(std::abs(phase.phase_shift_absolute), radians(180), radians(0.15));
      EXPECT_NEAR(phase.phase_deviation_from_user_phasing, 0, radians(0.15));
    }
  }
}

TEST(ThreePhaseRatio, AnAngleIsAPhasingToo) {
  kvr_Ratio3phRequest request = step_down(three_phase_unit());
  request.setup.connections[0].clock = 0;
  request.setup.windings[1].phase_shift = static_cast<float>(radians(330));
  const ThreePhaseRatio result = measure(three_phase_unit(), request);
  ASSERT_EQ(result.code, KVR_RES_OK);
  EXPECT_NEAR(degrees(result.data.phases[0].phase_deviation_from_user_phasing), 0, 0.15);
}

// ---- refusals

TEST(ThreePhaseRatio, RefusesWhatItCannotTest) {
  const Bench bench = quiet_bench();
  const kvr_Ratio3phRequest good = step_down(three_phase_unit());
  EXPECT_EQ(check_three_phase_ratio(good, bench), KVR_RES_OK);
  kvr_Ratio3phRequest bad = good;
  bad.test_type = KVR_TEST_RATIO_CT;
  EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_TESTING_METHOD_NOT_SUPPORTED);
  bad = good;
  bad.testing_mode = KVR_TESTING_MODE_1PH;
  EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_INCORRECT_PARAMETERS);
  bad = good;
  for (const std::int32_t phase : {kAllPhases - 1, 3}) {
    bad.tested_phase = phase;
    EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_INCORRECT_PARAMETERS) << phase;
  }
  for (const std::int32_t phase : {0, 1, 2}) {
    bad.tested_phase = phase;
    EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_OK) << phase;
  }
  bad = good;
  bad.test_voltage = 251;
  EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_UNSUPPORTED_VOLTAGE);
  bad = good;
  bad.setup.windings[0].winding_type = KVR_WINDING_1P;
  EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_VECTOR_GROUP_INCORRECT);
  bad = good;
  bad.setup.connections[0].clock = 15;
  EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_PHASING_INCORRECT);
  bad.setup.connections[0].clock = 2;
  EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_PHASING_INCORRECT);
  bad.setup.windings[1].winding_type = bad.setup.windings[0].winding_type;
  bad.setup.connections[0].clock = 1;
  EXPECT_EQ(check_three_phase_ratio(bad, bench), KVR_RES_PHASING_INCORRECT);
}

// ---- faults

TEST(ThreePhaseRatio, AnOpenLeadOfTheExcitedSideIsNamed) {
  for (int terminal = 1; terminal <= 3; ++terminal) {
    TransformerUnit unit = three_phase_unit();
    unit.faults.open_lead[Side::high][static_cast<std::size_t>(terminal)] = true;
    const ThreePhaseRatio result = measure(unit, step_down(unit));
    const auto expected = static_cast<kvr_code>(KVR_RES_OPEN_LEAD_H0 + terminal);
    EXPECT_EQ(result.code, expected);
    for (const kvr_TestData_Ratio_Phase& phase : result.data.phases) {
      EXPECT_EQ(phase.status, expected);
    }
  }
}

TEST(ThreePhaseRatio, AnOpenLeadOfTheOtherSideCostsOnlyItsPhase) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.open_lead[Side::low][3] = true;
  for (const kvr_TestingMode mode : {KVR_TESTING_MODE_3PH_3_3, KVR_TESTING_MODE_3PH_1_1}) {
    kvr_Ratio3phRequest request = request_for(unit, KVR_TEST_RATIO_DOWN, mode);
    request.setup.connections[0].clock = 11;
    const ThreePhaseRatio result = measure(unit, request);
    EXPECT_EQ(result.code, KVR_RES_PARTIAL_RESULT_CHECK_STATUS);
    EXPECT_EQ(result.data.phases[0].status, KVR_RES_OPEN_LEAD_X3);  // X0-X3
    for (const int phase : {1, 2}) {
      EXPECT_EQ(result.data.phases[phase].status, KVR_RES_OK);
      EXPECT_NEAR(result.data.phases[phase].tnr, 44.0013, 0.1);
      EXPECT_NEAR(off_clock(result.data.phases[phase].phase_shift_absolute, 11), 0, 0.15);
    }
    EXPECT_EQ(result.data.health_state, KVR_HEALTH_BAD);
  }
}

TEST(ThreePhaseRatio, AnOpenNeutralCostsAllPhasesThatNeedIt) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.open_lead[Side::low][0] = true;
  EXPECT_EQ(measure(unit, step_down(unit)).code, KVR_RES_OPEN_LEAD_X0);
}

TEST(ThreePhaseRatio, ANeutralThatTheUnitDoesNotHaveIsAnOpenLead) {
  TransformerUnit unit = three_phase_unit();
  unit.group.low = KVR_WINDING_Y;
  kvr_Ratio3phRequest request = step_down(unit);
  request.setup.windings[1].winding_type = KVR_WINDING_YN;
  EXPECT_EQ(measure(unit, request).code, KVR_RES_OPEN_LEAD_X0);
}

TEST(ThreePhaseRatio, ACapacitiveObjectIsReportedInEveryMode) {
  for (const char* name : {"Dyn11", "YNd1", "Yy0", "YNyn0", "Dz0"}) {
    TransformerUnit unit = three_phase_unit();
    unit.group = parse_group(name).value();
    unit.capacitance = 1e-6;
    for (const kvr_TestingMode mode : {KVR_TESTING_MODE_3PH_3_3, KVR_TESTING_MODE_3PH_1_1}) {
      for (const kvr_TestType type : {KVR_TEST_RATIO_DOWN, KVR_TEST_RATIO_UP}) {
        kvr_Ratio3phRequest request = request_for(unit, type, mode);
        request.test_voltage = type == KVR_TEST_RATIO_UP ? 1 : 100;
        EXPECT_EQ(measure(unit, request).code, KVR_RES_DETECTED_CAPACITANCE)
            << name << " " << mode << " " << type;
      }
    }
  }
}

TEST(ThreePhaseRatio, ASampleBeyondTheConvertersEndsTheTest) {
  Bench bench = quiet_bench();
  bench.instrument.voltage_range = 100;
  EXPECT_EQ(measure(three_phase_unit(), step_down(three_phase_unit()), bench).code,
            KVR_RES_ADC_OVERFLOW);
}

TEST(ThreePhaseRatio, ShortedTurnsRaiseCurrentAndErrorOfTheirPhase) {
  TransformerUnit unit = three_phase_unit();
  const kvr_Ratio3phRequest request =
      request_for(unit, KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_1_1);
  const ThreePhaseRatio sound = measure(unit, request);
  unit.faults.shorted_turns = {{Side::low, 1, 0.03, 1e-4}};
  const ThreePhaseRatio faulty = measure(unit, request);
  ASSERT_EQ(faulty.code, KVR_RES_OK);
  // Phase C, H3-H2, is that of limb B.
  EXPECT_GT(faulty.data.phases[2].current_rms, 5 * sound.data.phases[2].current_rms);
  EXPECT_GT(std::abs(faulty.data.phases[2].tnr_error), 2);
  EXPECT_EQ(faulty.data.health_state, KVR_HEALTH_BAD);
}

TEST(ThreePhaseRatio, ATapOffTheMiddleShowsAsRatioError) {
  TransformerUnit unit = three_phase_unit();
  unit.taps = {KVR_TAP_CHANGER_DETC, 1, 5, 3, 1, -2.5, 0};
  const ThreePhaseRatio result = measure(unit, step_down(unit));
  const double sound = measure(three_phase_unit(), step_down(unit)).data.ratio_3ph_error;
  EXPECT_NEAR(result.data.ratio_3ph_error - sound, 5, 0.05);
}

TEST(ThreePhaseRatio, OneSourceFindsNoClockOfAReversedStarWinding) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.reversed_winding[Side::low][0] = true;
  const kvr_Ratio3phRequest request =
      request_for(unit, KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_1_1);
  EXPECT_EQ(measure(unit, request).code, KVR_RES_CANNOT_DETECT_PHASING);
}

TEST(ThreePhaseRatio, AReversedStarWindingShowsAsDistortion) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.reversed_winding[Side::low][1] = true;
  const ThreePhaseRatio result = measure(unit, step_down(unit));
  ASSERT_EQ(result.code, KVR_RES_OK);
  // With one of three windings reversed, a third of the positive sequence remains, and two thirds
  // of each other one appear.
  EXPECT_NEAR(result.data.negative_distortion_index, 2, 0.01);
  EXPECT_NEAR(result.data.zero_distortion_index, 2, 0.01);
  EXPECT_EQ(result.data.health_state, KVR_HEALTH_BAD);
}

TEST(ThreePhaseRatio, AReversedZigzagWindingAndEachOfItsHalvesShow) {
  TransformerUnit unit = three_phase_unit();
  unit.group = parse_group("Yzn11").value();
  const kvr_Ratio3phRequest request = step_down(unit);
  EXPECT_EQ(measure(unit, request).data.health_state, KVR_HEALTH_EXCELLENT);
  for (std::size_t phase = 0; phase < 3; ++phase) {
    unit.faults = {};
    unit.faults.reversed_winding[Side::low][phase] = true;
    const ThreePhaseRatio whole = measure(unit, request);
    EXPECT_EQ(whole.data.health_state, KVR_HEALTH_BAD) << phase;
    EXPECT_NEAR(whole.data.negative_distortion_index, 2, 0.01) << phase;
    for (const std::size_t half : {0U, 1U}) {
      unit.faults = {};
      unit.faults.reversed_half[Side::low][phase][half] = true;
      EXPECT_EQ(measure(unit, request).data.health_state, KVR_HEALTH_BAD) << phase << half;
    }
  }
}

TEST(ThreePhaseRatio, AReversedDeltaWindingIsAShortCircuit) {
  TransformerUnit unit = three_phase_unit();
  unit.group = {KVR_WINDING_YN, KVR_WINDING_D, 1};
  unit.faults.reversed_winding[Side::low][0] = true;
  kvr_Ratio3phRequest request = step_down(unit);
  request.test_voltage = 250;
  EXPECT_EQ(measure(unit, request).code, KVR_RES_EXCITATION_CURRENT_TOO_HIGH);
}

// ---- samples

TEST(ThreePhaseRatio, RawDataAreTheSamplesOfEachPhase) {
  kvr_Ratio3phRequest request = step_down(three_phase_unit());
  request.setup.raw_data_requested = 1;
  const ThreePhaseRatio result = measure(three_phase_unit(), request);
  for (const char* phase :
       {"phase A: H1-H3 and X0-X3", "phase B: H2-H1 and X0-X1", "phase C: H3-H2 and X0-X2"}) {
    EXPECT_NE(result.raw_data.find(phase), std::string::npos) << phase;
  }
  const auto lines = std::count(result.raw_data.begin(), result.raw_data.end(), '\n');
  EXPECT_EQ(lines, 3 * (3 + 4 * 64));
}

TEST(ThreePhaseRatio, TheSameInputsGiveTheSameBytes) {
  Bench bench = quiet_bench();
  bench.measurement.noise = 0.1;
  kvr_Ratio3phRequest request =
      request_for(magnetised_unit(), KVR_TEST_RATIO_AUTO, KVR_TESTING_MODE_3PH_1_1);
  request.setup.raw_data_requested = 1;
  const ThreePhaseRatio first = measure_three_phase_ratio(magnetised_unit(), request, bench, 7);
  const ThreePhaseRatio second = measure_three_phase_ratio(magnetised_unit(), request, bench, 7);
  EXPECT_EQ(std::memcmp(&first.data, &second.data, sizeof(first.data)), 0);
  EXPECT_EQ(first.raw_data, second.raw_data);
  const ThreePhaseRatio other = measure_three_phase_ratio(magnetised_unit(), request, bench, 8);
  EXPECT_NE(first.data.ratio_3ph, other.data.ratio_3ph);
  EXPECT_NEAR(first.data.ratio_3ph, other.data.ratio_3ph, 0.1);
}

TEST(ThreePhaseRatio, NestsAsTheBoundaryWantsThem) {
  kvr_Ratio3phRequest request =
      request_for(three_phase_unit(), KVR_TEST_RATIO_AUTO, KVR_TESTING_MODE_3PH_AUTO);
  request.test_voltage = 50;
  const ThreePhaseRatio result = measure(three_phase_unit(), request);
  kvr_TestData_Ratio_3ph* data = new_data(result);
  ASSERT_NE(data->step_up, nullptr);
  ASSERT_NE(data->step_down, nullptr);
  EXPECT_EQ(data->step_up->test_type, KVR_TEST_RATIO_UP);
  EXPECT_EQ(data->step_up->step_up, nullptr);
  EXPECT_EQ(data->setup.windings[0].voltage, 11000);
  free_nest(data);
}

}  // namespace
}  // namespace virtual_instrument

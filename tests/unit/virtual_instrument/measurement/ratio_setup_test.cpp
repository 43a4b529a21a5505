#include "virtual_instrument/measurement/ratio_setup.h"

#include <gtest/gtest.h>

#include <limits>

#include "api/result_records.h"
#include "unit/virtual_instrument/measurement/sines.h"
#include "unit/virtual_instrument/requests.h"

namespace virtual_instrument {
namespace {

using std::numbers::pi;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

Bench bench() {
  Bench bench{};
  bench.instrument.minimum_voltage = 1;
  bench.instrument.maximum_voltage = 250;
  bench.instrument.maximum_current = 2;
  bench.instrument.maximum_induced_voltage = 500;
  bench.instrument.voltage_range = 1000;
  bench.instrument.current_range = 5;
  bench.measurement.smallest_voltage = 0.05;
  return bench;
}

TEST(CheckSetup, TakesVoltagesWithinTheLimitsOfTheInstrument) {
  const kvr_TestSetup setup = setup_with_ratio(10);
  for (const float voltage : {1.0F, 250.0F}) {
    EXPECT_EQ(check_setup(setup, voltage, bench()), KVR_RES_OK) << voltage;
  }
  for (const float voltage : {0.999F, 250.1F, -1.0F, kNaN}) {
    EXPECT_EQ(check_setup(setup, voltage, bench()), KVR_RES_UNSUPPORTED_VOLTAGE) << voltage;
  }
}

TEST(CheckSetup, TakesTheTwoLineFrequencies) {
  kvr_TestSetup setup = setup_with_ratio(10);
  for (const int frequency : {0, 49, 50, 51, 60, 61}) {
    setup.line_frequency = frequency;
    EXPECT_EQ(check_setup(setup, 8, bench()),
              frequency == 50 || frequency == 60 ? KVR_RES_OK : KVR_RES_FREQUENCY_NOT_SUPPORTED)
        << frequency;
  }
}

TEST(CheckSetup, TakesTheWindingsHAndXOnly) {
  kvr_TestSetup setup = setup_with_ratio(10);
  setup.connection_type = kConnectionXToY;
  EXPECT_EQ(check_setup(setup, 8, bench()), KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  setup.connection_type = kConnectionXToY + 1;
  EXPECT_EQ(check_setup(setup, 8, bench()), KVR_RES_INCORRECT_PARAMETERS);
}

TEST(CheckSetup, RefusesANameplateThatGivesNoRatio) {
  struct Plate {
    float high;
    float low;
    kvr_code code;
  };
  for (const Plate& plate :
       {Plate{0, 0, KVR_RES_OK}, Plate{0, 5, KVR_RES_OK}, Plate{5, 0, KVR_RES_INCORRECT_PARAMETERS},
        Plate{0.5F, 0, KVR_RES_INCORRECT_PARAMETERS}, Plate{-5, 1, KVR_RES_INCORRECT_PARAMETERS},
        Plate{5, -1, KVR_RES_INCORRECT_PARAMETERS}, Plate{kNaN, 1, KVR_RES_INCORRECT_PARAMETERS}}) {
    kvr_TestSetup setup = setup_with_ratio(10);
    setup.windings[0].voltage = plate.high;
    setup.windings[1].voltage = plate.low;
    EXPECT_EQ(check_setup(setup, 8, bench()), plate.code) << plate.high << " " << plate.low;
  }
  kvr_TestSetup setup = setup_with_ratio(10);
  setup.windings[1].phase_shift = kNaN;
  EXPECT_EQ(check_setup(setup, 8, bench()), KVR_RES_INCORRECT_PARAMETERS);
}

TEST(NameplateRatio, IsThatOfTheVoltages) {
  kvr_TestSetup setup = setup_with_ratio(11000);
  setup.windings[1].voltage = 400;
  EXPECT_DOUBLE_EQ(nameplate_ratio(setup), 27.5);
  setup.windings[0].voltage = 0;
  EXPECT_EQ(nameplate_ratio(setup), 0);
}

TEST(EnteredPhaseShift, IsThatOfTheClockAndTheAngle) {
  kvr_TestSetup setup = setup_with_ratio(10);
  EXPECT_EQ(entered_phase_shift(setup), std::nullopt);
  setup.windings[1].phase_shift = 0.5;
  EXPECT_EQ(entered_phase_shift(setup), 0.5);
  setup.connections[0].clock = 6;
  EXPECT_NEAR(entered_phase_shift(setup).value(), pi + 0.5, 1e-15);
  setup.windings[1].phase_shift = 0;
  EXPECT_DOUBLE_EQ(entered_phase_shift(setup).value(), pi);
  setup.connections[0].clock = 12;
  EXPECT_EQ(entered_phase_shift(setup), 0);
}

/// What the protection says of 100 V that induce `induced` V, and `current` A that lag by `lag`.
kvr_code limits_code(double induced, double current, double lag, double voltage_lead = 0) {
  return check_limits(sine_test(Side::high, {sine(100), sine(induced)}, sine(current, -lag)),
                      voltage_lead, bench().instrument);
}

TEST(CheckLimits, EndsATestThatLeavesTheRangeOfTheInstrument) {
  EXPECT_EQ(limits_code(10, 1.99, 1), KVR_RES_OK);
  EXPECT_EQ(limits_code(10, 2.01, 1), KVR_RES_EXCITATION_CURRENT_TOO_HIGH);
  EXPECT_EQ(limits_code(499, 1, 1), KVR_RES_OK);
  EXPECT_EQ(limits_code(501, 1, 1), KVR_RES_INDUCED_VOLTAGE_TOO_HIGH);
  SampledTest test = sine_test(Side::high, {sine(100), sine(10)}, sine(1, -1));
  test.voltage[Side::low][3] = -1001;
  EXPECT_EQ(check_limits(test, 0, bench().instrument), KVR_RES_ADC_OVERFLOW);
}

TEST(CheckLimits, TakesWhatIsExactlyAtALimit) {
  // Constant samples have exactly their value as r.m.s. and as peak, and no fundamental.
  const auto code = [](double source, double induced, double current, double current_peak) {
    SampledTest test =
        sine_test(Side::high, {Samples(32, source), Samples(32, induced)}, Samples(32, current));
    test.current[Side::high][0] = current_peak;
    return check_limits(test, 0, bench().instrument);
  };
  EXPECT_EQ(code(1, 1, 2, 2), KVR_RES_OK);
  EXPECT_EQ(code(1, 1, 2, 2.001), KVR_RES_EXCITATION_CURRENT_TOO_HIGH);
  EXPECT_EQ(code(1, 500, 1, 1), KVR_RES_OK);
  EXPECT_EQ(code(1, 500.001, 1, 1), KVR_RES_INDUCED_VOLTAGE_TOO_HIGH);
  EXPECT_EQ(code(1000, 1, 1, 1), KVR_RES_OK);
  EXPECT_EQ(code(1000.001, 1, 1, 1), KVR_RES_ADC_OVERFLOW);
  EXPECT_EQ(code(0, 1, 0, 5), KVR_RES_OK);
  EXPECT_EQ(code(0, 1, 0, 5.001), KVR_RES_ADC_OVERFLOW);
  SampledTest peaked =
      sine_test(Side::high, {Samples(32, 1.0), Samples(32, 0.0)}, Samples(32, 1.0));
  peaked.voltage[Side::low][5] = -1000;
  EXPECT_EQ(check_limits(peaked, 0, bench().instrument), KVR_RES_OK);
  peaked.voltage[Side::low][5] = -1000.001;
  EXPECT_EQ(check_limits(peaked, 0, bench().instrument), KVR_RES_ADC_OVERFLOW);
}

TEST(ShouldStepUp, DecidesAtItsLimits) {
  Bench limits = bench();
  limits.measurement.smallest_voltage = 0.0625;
  const auto steps_up = [&limits](double high, double low, double test_voltage) {
    return should_step_up(
        sine_test(Side::high, {Samples(32, high), Samples(32, low)}, Samples(32, 1.0)),
        test_voltage, limits);
  };
  EXPECT_FALSE(steps_up(1, 0.0625, 1));
  EXPECT_TRUE(steps_up(1, 0.03125, 1));
  EXPECT_TRUE(steps_up(0.03125 * 500, 0.03125, 0.1));
  EXPECT_FALSE(steps_up(0.03125 * 500.5, 0.03125, 0.1));
  EXPECT_TRUE(steps_up(0.03125 * 250, 0.03125, 2));
}

TEST(CheckLimits, CallsACurrentCapacitiveThatLeadsByMoreThanAnEighthOfATurn) {
  EXPECT_EQ(limits_code(10, 1, -pi / 4 + 0.01), KVR_RES_OK);
  EXPECT_EQ(limits_code(10, 1, -pi / 4 - 0.01), KVR_RES_DETECTED_CAPACITANCE);
  // Between two lines the measured voltage leads the one that drives the current.
  EXPECT_EQ(limits_code(10, 1, -0.3, -pi / 6), KVR_RES_OK);
  EXPECT_EQ(limits_code(10, 1, -0.3, pi / 6), KVR_RES_DETECTED_CAPACITANCE);
}

TEST(ShouldStepUp, IfTheLowVoltageIsTooSmallAndTheHighOneStaysWithinLimits) {
  const auto of = [](double high, double low) {
    return sine_test(Side::high, {sine(high), sine(low)}, sine(1));
  };
  EXPECT_TRUE(should_step_up(of(10, 0.04), 2, bench()));
  EXPECT_FALSE(should_step_up(of(10, 0.06), 2, bench())) << "large enough to measure";
  EXPECT_FALSE(should_step_up(of(10, 0.01), 0.1, bench())) << "a ratio of 1000";
  EXPECT_FALSE(should_step_up(of(10, 0.04), 2.01, bench())) << "502.5 V would be induced";
}

TEST(RepeatRequest, CopiesTheBodyOfTheRequestAndNothingElse) {
  const kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_UP, 8, 10);
  const auto data = repeat_request<kvr_TestData_Ratio_1ph>(request);
  EXPECT_EQ(data.direction, KVR_TEST_RATIO_UP);
  EXPECT_EQ(data.setup.windings[0].voltage, 10);
  EXPECT_EQ(data.reference_ratio, 0);
  EXPECT_EQ(data.phase.tnr, 0);
}

}  // namespace
}  // namespace virtual_instrument

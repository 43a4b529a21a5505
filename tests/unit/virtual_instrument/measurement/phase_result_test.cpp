#include "virtual_instrument/measurement/phase_result.h"

#include <gtest/gtest.h>

#include "unit/virtual_instrument/measurement/sines.h"

namespace virtual_instrument {
namespace {

using std::numbers::pi;
constexpr PhaseNames kNames{"B", "H2-H0", "X2-X0"};

/// 100 V on the high side; the low side has 8 V and lags by 0.1 rad, the current 0.5 A and 0.4 rad.
SampledTest step_down() {
  return sine_test(Side::high, {sine(100), sine(8, -0.1)}, sine(0.5, -0.4));
}

TEST(PhaseResult, HoldsTheFiguresOfItsSamples) {
  const kvr_TestData_Ratio_Phase result =
      phase_result(step_down(), kNames, {false, 1, 12.5, std::nullopt, 0});
  EXPECT_EQ(result.status, KVR_RES_OK);
  EXPECT_STREQ(result.phase_name, "B");
  EXPECT_STREQ(result.high_side_phase, "H2-H0");
  EXPECT_STREQ(result.low_side_phase, "X2-X0");
  EXPECT_STREQ(result.tvr_name, "B");
  EXPECT_STREQ(result.tvr_high, "H2-H0");
  EXPECT_STREQ(result.tvr_low, "X2-X0");
  EXPECT_FLOAT_EQ(result.voltage_h, 100);
  EXPECT_FLOAT_EQ(result.voltage_x, 8);
  EXPECT_DOUBLE_EQ(result.tvr, 12.5);
  EXPECT_DOUBLE_EQ(result.tnr, 12.5);
  EXPECT_NEAR(result.tnr_error, 0, 1e-12);
  EXPECT_DOUBLE_EQ(result.true_ratio, 12.5);
  EXPECT_NEAR(result.frequency, 50, 0.5);
  EXPECT_NEAR(result.phase_high, 0, 1e-6);
  EXPECT_FLOAT_EQ(result.phase_low, -0.1F);
  EXPECT_FLOAT_EQ(result.phase_shift_absolute, 0.1F);
  EXPECT_FLOAT_EQ(result.phase_deviation_from_user_phasing, 0.1F);
  EXPECT_FLOAT_EQ(result.efi, 0.4F);
  EXPECT_FLOAT_EQ(result.voltage_rms, 100);
  EXPECT_FLOAT_EQ(result.current_rms, 0.5);
  EXPECT_FLOAT_EQ(result.vol_rms_high, 100);
  EXPECT_FLOAT_EQ(result.vol_rms_low, 8);
  EXPECT_FLOAT_EQ(result.curr_h, 0.5);
  EXPECT_EQ(result.curr_x, 0);
  EXPECT_FLOAT_EQ(result.induced_voltage, 8);
}

TEST(PhaseResult, ComparesTheTurnsRatioWithTheReference) {
  const kvr_TestData_Ratio_Phase result =
      phase_result(step_down(), kNames, {false, 2, 12, std::nullopt, 0.25});
  EXPECT_DOUBLE_EQ(result.tvr, 12.5);
  EXPECT_DOUBLE_EQ(result.tnr, 25);
  EXPECT_NEAR(result.tnr_error, (12.5 / 12 - 1) * 100, 1e-9);
  EXPECT_NEAR(result.true_ratio_error, (12.5 / 12 - 1) * 100, 1e-9);
  EXPECT_FLOAT_EQ(result.efi, 0.15F);
}

TEST(PhaseResult, OfACurrentTransformerIsLowOverHigh) {
  const SampledTest test = sine_test(Side::low, {sine(2), sine(50)}, sine(0.01, -1));
  const kvr_TestData_Ratio_Phase result =
      phase_result(test, kNames, {true, 1, 25, std::nullopt, 0});
  EXPECT_DOUBLE_EQ(result.tvr, 25);
  EXPECT_FLOAT_EQ(result.voltage_rms, 50);
  EXPECT_FLOAT_EQ(result.induced_voltage, 2);
  EXPECT_EQ(result.curr_h, 0);
  EXPECT_FLOAT_EQ(result.curr_x, 0.01F);
  EXPECT_FLOAT_EQ(result.efi, 1);
}

TEST(PhaseResult, OfOppositeWindingsIsHalfATurnWithEitherSign) {
  for (const double lead : {pi, -pi, pi - 1e-9, pi + 1e-9}) {
    const SampledTest test = sine_test(Side::high, {sine(100), sine(10, lead)}, sine(1));
    const kvr_TestData_Ratio_Phase result = phase_result(test, kNames, {false, 1, 10, pi, 0});
    EXPECT_NEAR(std::abs(result.phase_shift_absolute), pi, 1e-6) << lead;
    EXPECT_NEAR(result.phase_deviation_from_user_phasing, 0, 1e-6) << lead;
  }
}

TEST(PhaseDeviation, CountsFromTheEnteredShiftOrTheNearestHour) {
  EXPECT_NEAR(phase_deviation(0.6, 0.5), 0.1, 1e-15);
  EXPECT_NEAR(phase_deviation(pi / 6 + 0.01, std::nullopt), 0.01, 1e-15);
  EXPECT_NEAR(phase_deviation(-pi + 0.01, pi), 0.01, 1e-15);
  EXPECT_NEAR(phase_deviation(-pi + 0.01, std::nullopt), 0.01, 1e-15);
}

// Both ends of the range are the same angle, and a whole half turn off counts as positive.
TEST(PhaseDeviation, OfHalfATurnIsPositive) {
  EXPECT_EQ(phase_deviation(pi, pi), 0);
  EXPECT_EQ(phase_deviation(-pi, pi), 0);
  EXPECT_EQ(phase_deviation(pi, std::nullopt), 0);
  EXPECT_EQ(phase_deviation(-pi, std::nullopt), 0);
  EXPECT_EQ(phase_deviation(pi, 0), pi);
  EXPECT_EQ(phase_deviation(-pi, 0), pi);
  EXPECT_EQ(phase_deviation(0, pi), pi);
}

TEST(ErrorPercent, IsZeroWithoutAReference) {
  EXPECT_NEAR(error_percent(10.1, 10), 1, 1e-12);
  EXPECT_NEAR(error_percent(9, 10), -10, 1e-12);
  EXPECT_EQ(error_percent(10, 0), 0);
}

TEST(RawText, HasALineForEachSample) {
  SampledTest test = step_down();
  test.voltage = {Samples{1, -0.5}, Samples{2, 0}};
  test.current = {Samples{0.25, 1e-9}, Samples{0, 0}};
  EXPECT_EQ(raw_text(test, kNames),
            "# RAW samples of phase B: H2-H0 and X2-X0, excited H2-H0\n"
            "# 800 samples per second, 2 samples\n"
            "Time s;Voltage H V;Voltage X V;Current H A;Current X A\n"
            "0.00125000;1.000000e+00;2.000000e+00;2.500000e-01;0.000000e+00\n"
            "0.00250000;-5.000000e-01;0.000000e+00;1.000000e-09;0.000000e+00\n");
}

}  // namespace
}  // namespace virtual_instrument

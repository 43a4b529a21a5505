// The figures that take a formula or a table: temperature, ratios, classes, limits, knees, losses,
// waveforms, decisions and differences.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <string>

#include "report/figures/comparison.h"
#include "report/figures/decision.h"
#include "report/figures/knee.h"
#include "report/figures/limits.h"
#include "report/figures/losses.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/figures/temperature.h"
#include "report/figures/waveform.h"

namespace report {
namespace {

TEST(Temperature, OfAHotWinding) {
  EXPECT_EQ(fixed(temperature_of(100, 80, 20, kCopper), 3), "83.625");
}

TEST(Temperature, ResistanceAtAnother) {
  EXPECT_EQ(fixed(resistance_at(0.15, kCopper, 25, 110), 5), "0.19913");
  EXPECT_EQ(fixed(resistance_at(0.15, kAluminium, 25, 110), 5), "0.20100");
}

TEST(Temperature, OfLossesAndImpedance) {
  const LoadLosses warm = load_losses_at({4000, 400}, kCopper, 20, 75);
  const double factor = 309.5 / 254.5;
  EXPECT_DOUBLE_EQ(warm.i2r, 4000 * factor);
  EXPECT_DOUBLE_EQ(warm.stray, 400 / factor);
  const SeriesImpedance z = impedance_at({4.4, 10}, 4, kCopper, 20, 75);
  EXPECT_DOUBLE_EQ(z.resistance, 4 * factor + 0.4 / factor);
  EXPECT_NEAR(z.resistance, 4.4 * warm.total() / 4400, 1e-12);
  EXPECT_DOUBLE_EQ(z.magnitude(), std::hypot(z.resistance, 10));
}

TEST(CurrentTransformer, OfAResistiveBurden) {
  const CurrentErrors errors = current_errors(current_transformer(200, 5, 1, 0.4));
  EXPECT_EQ(fixed(errors.ratio, 2), "200.08");
  EXPECT_EQ(fixed(errors.ratio_error, 4), "-0.0400");
  EXPECT_EQ(fixed(errors.displacement, 3), "3.151");
}

TEST(CurrentTransformer, TurnsCompensateForTheExcitingCurrent) {
  CurrentTransformer ct = current_transformer(200, 5, 10, 0.6);
  EXPECT_NEAR(current_errors(ct).ratio, 201.2, 1e-12);
  EXPECT_EQ(fixed(current_errors(ct).ratio_error, 4), "-0.5964");
  ct.turns_ratio = 199;
  EXPECT_EQ(fixed(current_errors(ct).ratio_error, 4), "-0.0999");
  EXPECT_NEAR(current_errors(ct).displacement, 8 / 995.0 * 10800 / std::numbers::pi, 1e-9);
}

TEST(CurrentTransformer, AnInductiveBurdenTurnsMagnetizingCurrentIntoRatioError) {
  CurrentTransformer ct = current_transformer(200, 5, 10, 0.6);
  ct.burden_angle = std::atan2(0.8, 0.6);
  const CurrentErrors errors = current_errors(ct);
  EXPECT_NEAR(errors.ratio, 200 + (6 * 0.6 + 8 * 0.8) / 5, 1e-9);
  EXPECT_NEAR(errors.displacement, 0, 1e-9);
}

TEST(CurrentTransformer, PhasorsAgreeWithTheUsualFormulas) {
  CurrentTransformer ct = current_transformer(200, 5, 1, 0.4);
  ct.burden_angle = 0.5;
  EXPECT_NEAR(exact_current_errors(ct).ratio, current_errors(ct).ratio, 1e-4);
  EXPECT_NEAR(exact_current_errors(ct).displacement, current_errors(ct).displacement, 0.01);
  EXPECT_EQ(fixed(exact_current_errors(current_transformer(200, 5, 1, 0.4)).displacement, 3),
            "3.149");
}

TEST(Classes, OfATransformerComparedWithAStandard) {
  const std::array percent{120.0, 100.0, 20.0, 5.0};
  const std::array<ErrorPair, 4> against{
      {{-0.543, 15.5}, {-0.600, 17.5}, {-0.950, 25.8}, {-1.434, 35.8}}};
  const std::array<ErrorPair, 4> standard{
      {{-0.134, 3.7}, {-0.156, 4.0}, {-0.205, 6.0}, {-0.356, 8.0}}};
  std::string sums;
  std::vector<ClassReading> readings;
  for (std::size_t i = 0; i < percent.size(); ++i) {
    const ErrorPair sum = sum_of_errors(against[i], standard[i]);
    sums += fixed(sum.ratio_error, 3) + "/" + fixed(sum.displacement, 1) + " ";
    readings.push_back({percent[i], sum});
  }
  EXPECT_EQ(sums, "-0.677/19.2 -0.756/21.5 -1.155/31.8 -1.790/43.8 ");
  EXPECT_EQ(best_class(current_classes(), readings)->name, "1");
  EXPECT_FALSE(*is_within(*find_class(current_classes(), "0.5"), readings));
}

TEST(Classes, LimitsAreInterpolatedBetweenTheStatedPoints) {
  const AccuracyClass& half = *find_class(current_classes(), "0.5");
  EXPECT_DOUBLE_EQ(class_limit(half, 5)->ratio_error, 1.5);
  EXPECT_DOUBLE_EQ(class_limit(half, 12.5)->ratio_error, 1.125);
  EXPECT_DOUBLE_EQ(class_limit(half, 60)->displacement, 37.5);
  EXPECT_DOUBLE_EQ(class_limit(half, 110)->ratio_error, 0.5);
  EXPECT_FALSE(class_limit(half, 4.9));
  EXPECT_FALSE(class_limit(half, 120.1));
  EXPECT_DOUBLE_EQ(class_limit(*find_class(current_classes(), "0.2S"), 1)->displacement, 30);
  const auto third = class_limit(*find_class(voltage_classes(), "3"), 100);
  EXPECT_DOUBLE_EQ(third->ratio_error, 3);
  EXPECT_TRUE(std::isinf(third->displacement));
  EXPECT_FALSE(is_within(half, std::array{ClassReading{2, {0, 0}}}));
  EXPECT_EQ(find_class(current_classes(), "5P"), nullptr);
}

TEST(PhaseSpread, OfThreeSetsOfResistances) {
  const std::array<std::array<double, 3>, 3> sets{
      {{0.852, 0.849, 0.854}, {0.845, 0.864, 0.852}, {0.830, 0.872, 0.851}}};
  std::string text;
  for (const auto& set : sets) {
    const auto spread = phase_spread(set);
    text += fixed(spread->range_percent, 2) + "/" + fixed(spread->deviation_percent, 2) + " ";
  }
  EXPECT_EQ(text, "0.59/0.31 2.23/1.21 4.94/2.47 ");
  EXPECT_FALSE(phase_spread(std::array{1.0, 0.0}));
}

TEST(RatioError, OfFiveTaps) {
  const std::array nominal{5.7158, 5.5859, 5.1962, 4.8064, 4.6765};
  const std::array read{5.7133, 5.5868, 5.1960, 4.8013, 4.6750};
  std::string text;
  for (std::size_t i = 0; i < read.size(); ++i) {
    text += fixed(ratio_error_percent(read[i], nominal[i]), 3) + " ";
  }
  EXPECT_EQ(text, "-0.044 0.016 -0.004 -0.106 -0.032 ");
}

TEST(RatioLimit, IsATenthOfASmallImpedance) {
  EXPECT_DOUBLE_EQ(ratio_limit_percent(4), 0.4);
  EXPECT_DOUBLE_EQ(ratio_limit_percent(6), 0.5);
}

TEST(Balance, SumAndPattern) {
  const BalanceSum outer = balance_sum(std::array{100.0, 70.0, 29.0}, 0);
  EXPECT_DOUBLE_EQ(outer.sum_percent, 99);
  EXPECT_DOUBLE_EQ(outer.deviation_percent, -1);
  EXPECT_TRUE(is_balance_pattern(std::array{100.0, 70.0, 29.0}, 0));
  EXPECT_FALSE(is_balance_pattern(std::array{100.0, 29.0, 70.0}, 0));
  EXPECT_TRUE(is_balance_pattern(std::array{20.0, 80.0, 100.0}, 2));
  EXPECT_TRUE(is_balance_pattern(std::array{50.0, 100.0, 50.0}, 1));
  EXPECT_FALSE(is_balance_pattern(std::array{30.0, 100.0, 70.0}, 1));
}

double example_current(double voltage) { return 1e-5 * voltage + 1e-24 * std::pow(voltage, 9); }

std::string knees_of(const ExcitationCurve& curve, int decimals) {
  std::string text;
  for (const KneeRule& rule : kKneeRules) {
    const auto knee = knee_voltage(curve, rule);
    text += (knee ? fixed(*knee, decimals) : "none") + " ";
  }
  return text;
}

TEST(Knee, OfACurveGivenAsAFormula) {
  const ExcitationCurve curve{[](double x) { return std::log(example_current(std::exp(x))); }, 1,
                              400};
  EXPECT_EQ(knees_of(curve, 3), "215.563 none 177.988 ");
}

TEST(Knee, OfTheSameCurveMeasuredAtPoints) {
  std::vector<ExcitationPoint> points;
  for (int i = 0; i <= 60; ++i) {
    const double voltage = 20 + 5.0 * i;
    points.push_back({voltage, example_current(voltage)});
  }
  const auto curve = curve_through(points);
  ASSERT_TRUE(curve);
  EXPECT_NEAR(*knee_voltage(*curve, kKneeRules[0]), 215.563, 0.1);
  EXPECT_FALSE(knee_voltage(*curve, kKneeRules[1]));
  EXPECT_NEAR(*knee_voltage(*curve, kKneeRules[2]), 177.988, 0.5);
}

TEST(Knee, At45DegreesNeedsACurveThatBeginsSteeper) {
  // Current grows with the square root of the voltage first, as in iron at low flux.
  const ExcitationCurve curve{
      [](double x) { return std::log(1e-3 * std::exp(0.5 * x) + 1e-12 * std::exp(4 * x)); }, 1,
      1000};
  // 0.5 a U^0.5 = 3 b U^4 where the slope is 1.
  EXPECT_NEAR(*knee_voltage(curve, kKneeRules[1]), std::pow(0.5e9 / 3, 1 / 3.5), 0.01);
}

TEST(Knee, NeedsThreePoints) {
  EXPECT_FALSE(curve_through(std::array{ExcitationPoint{1, 1}, ExcitationPoint{2, 2}}));
  EXPECT_FALSE(curve_through(std::array{ExcitationPoint{1, 1}, ExcitationPoint{1, 1},
                                        ExcitationPoint{1, 1}, ExcitationPoint{2, 0},
                                        ExcitationPoint{-3, 1}, ExcitationPoint{2, 2}}));
}

TEST(CoreLosses, FromTwoFrequencies) {
  const auto losses =
      separate_core_losses(std::array{CoreLossReading{40, 52}, CoreLossReading{60, 90}});
  ASSERT_TRUE(losses);
  EXPECT_NEAR(losses->hysteresis(50), 45, 1e-9);
  EXPECT_NEAR(losses->eddy(50), 25, 1e-9);
  EXPECT_NEAR(losses->total(60), 90, 1e-9);
}

TEST(CoreLosses, FromReadingsOfAnotherFlux) {
  const double flux = 0.8;
  const auto loss = [flux](double f) {
    return 2 * f * std::pow(flux, 1.6) + 0.01 * f * f * flux * flux;
  };
  const auto losses = separate_core_losses(
      std::array{CoreLossReading{25, loss(25), flux}, CoreLossReading{50, loss(50), flux}});
  ASSERT_TRUE(losses);
  EXPECT_NEAR(losses->hysteresis_per_hertz, 2, 1e-9);
  EXPECT_NEAR(losses->eddy_per_hertz_squared, 0.01, 1e-11);
}

TEST(CoreLosses, NeedTwoFrequencies) {
  EXPECT_FALSE(separate_core_losses(std::array{CoreLossReading{50, 90}, CoreLossReading{50, 91}}));
  EXPECT_FALSE(separate_core_losses({}));
}

TEST(Waveform, Harmonics) {
  std::vector<double> samples;
  for (int i = 0; i < 400; ++i) {
    const double angle = 2 * std::numbers::pi * i / 80 + 0.3;
    samples.push_back(10 * std::sin(angle) + 3 * std::sin(3 * angle) + 0.4 * std::sin(5 * angle));
  }
  const auto harmonics = harmonics_of(std::span(samples).first(390), 4000);
  ASSERT_TRUE(harmonics);
  EXPECT_DOUBLE_EQ(harmonics->frequency, 50);
  EXPECT_NEAR(harmonics->fundamental, 10 / std::numbers::sqrt2, 1e-9);
  EXPECT_NEAR(harmonics->percent[2], 30, 1e-9);
  EXPECT_NEAR(harmonics->percent[4], 4, 1e-9);
  EXPECT_NEAR(harmonics->percent[1], 0, 1e-9);
  EXPECT_NEAR(harmonics->distortion_percent, std::hypot(30, 4), 1e-9);
  EXPECT_FALSE(harmonics_of(std::span(samples).first(40), 4000));
  EXPECT_FALSE(harmonics_of({}, 4000));
}

TEST(Decision, BySimpleAcceptanceAndByGuardBand) {
  const Limits limits = Limits::at_most(4);
  const DecisionRule simple;
  const DecisionRule guard{true, 1};
  EXPECT_EQ(decide(3.20, limits, 1.60, simple), Verdict::kPass);
  EXPECT_EQ(decide(3.20, limits, 1.60, guard), Verdict::kConditionalPass);
  EXPECT_EQ(decide(2.40, limits, 1.60, guard), Verdict::kPass);
  EXPECT_EQ(decide(4.20, limits, 1.60, guard), Verdict::kConditionalFail);
  EXPECT_EQ(decide(5.61, limits, 1.60, guard), Verdict::kFail);
  EXPECT_EQ(decide(4.01, limits, std::nullopt, simple), Verdict::kFail);
  EXPECT_EQ(decide(4.20, limits, 1.60, DecisionRule{true, 0.1}), Verdict::kFail);
}

TEST(Decision, OnTheLimitPasses) {
  EXPECT_EQ(decide(0.1 + 0.2, Limits::symmetric(0.3), std::nullopt, {}), Verdict::kPass);
  EXPECT_EQ(decide(-0.3, Limits::symmetric(0.3), std::nullopt, {}), Verdict::kPass);
  EXPECT_EQ(decide(-0.31, Limits::symmetric(0.3), std::nullopt, {}), Verdict::kFail);
}

TEST(Decision, NoneWithoutWhatItNeeds) {
  EXPECT_EQ(decide(1, Limits{}, std::nullopt, {}), Verdict::kNone);
  EXPECT_EQ(decide(std::nan(""), Limits::at_most(1), std::nullopt, {}), Verdict::kNone);
  EXPECT_EQ(decide(1, Limits::at_most(2), std::nullopt, DecisionRule{true, 1}), Verdict::kNone);
  EXPECT_EQ(decide(HUGE_VAL, Limits::at_most(2), std::nullopt, {}), Verdict::kFail);
}

TEST(Difference, AgainstLimitAndRepeatability) {
  const Difference difference = difference_of(2, 2.1, 0.05, 0.05);
  EXPECT_NEAR(difference.absolute, 0.1, 1e-12);
  EXPECT_NEAR(difference.percent, 5, 1e-9);
  EXPECT_FALSE(*difference.is_within_limit);
  EXPECT_TRUE(*difference.is_within_repeatability);
  EXPECT_FALSE(difference_of(2, 2.1, std::nullopt, std::nullopt).is_within_limit);
}

TEST(Limits, EachHasASource) {
  for (const LimitRow& row : limit_rows()) {
    EXPECT_GT(row.value, 0) << row.key;
    EXPECT_FALSE(row.source.empty()) << row.key;
    EXPECT_EQ(&limit_row(row.key), &row);
  }
}

TEST(Numbers, AsText) {
  EXPECT_EQ(fixed(-0.0004, 3), "0.000");
  EXPECT_EQ(fixed(1.5, 2), "1.50");
  EXPECT_EQ(fixed(std::nan(""), 2), "not a number");
  EXPECT_EQ(fixed(-HUGE_VAL, 2), "-infinite");
  EXPECT_EQ(fixed(1e300, 2), "1.00000000e+300");
  EXPECT_EQ(significant(0.000123456, 3), "0.000123");
  EXPECT_EQ(significant(123456, 3), "123456");
  EXPECT_EQ(significant(9.9996, 4), "10.00");
  EXPECT_EQ(significant(1e-9, 3), "1.00e-09");
  EXPECT_EQ(significant(0, 3), "0");
  EXPECT_EQ(shortest(0.1), "0.1");
  EXPECT_EQ(with_decimal_commas("A, 0.5: -1.25 % (IEEE C57.13, 30 degrees) 1.5e-05 1.2.3 3. .5 x"),
            "A, 0,5: -1,25 % (IEEE C57.13, 30 degrees) 1,5e-05 1.2.3 3. .5 x");
  EXPECT_EQ(operator_notation(-0.0, 2), "-0.00");
  EXPECT_EQ(operator_notation(-std::nan(""), 2), "-nan");
}

}  // namespace
}  // namespace report

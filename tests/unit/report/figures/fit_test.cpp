#include "report/figures/fit.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

#include "report/figures/numbers.h"

namespace report {
namespace {

// The readings of the reference problem Misra1a.
constexpr std::array kX{77.6,  114.9, 141.1, 190.8, 239.9, 289.0, 332.8,
                        378.4, 434.8, 477.3, 536.8, 593.1, 689.1, 760.0};
constexpr std::array kY{10.07, 14.73, 17.94, 23.93, 29.61, 35.18, 40.02,
                        44.82, 50.76, 55.05, 61.01, 66.40, 75.47, 81.78};

double misra(double x, std::span<const double> b) { return b[0] * (1 - std::exp(-b[1] * x)); }

class Misra : public testing::TestWithParam<std::array<double, 2>> {};

TEST_P(Misra, HasItsCertifiedDigitsFromEveryStart) {
  const auto fit = fit_curve(misra, kX, kY, {GetParam()[0], GetParam()[1]});
  ASSERT_TRUE(fit);
  EXPECT_EQ(fixed(fit->parameters[0], 8), "238.94212918");
  EXPECT_NEAR(fit->parameters[1], 5.5015643181e-4, 1e-14);
  EXPECT_EQ(fixed(fit->residual_deviation, 11), "0.10187876330");
  EXPECT_NEAR(fit->standard_errors[0], 2.7070075241, 1e-6);
  EXPECT_NEAR(fit->standard_errors[1], 7.2668688436e-6, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Starts, Misra,
                         testing::Values(std::array{500.0, 0.0001}, std::array{250.0, 0.0005},
                                         std::array{100.0, 0.01}));

TEST(Fit, LineHasItsStandardErrors) {
  const std::array x{1.0, 2.0, 3.0, 4.0};
  const std::array y{2.1, 3.9, 6.2, 7.8};
  const auto fit = fit_line(x, y);
  ASSERT_TRUE(fit);
  EXPECT_NEAR(fit->parameters[0], 0.15, 1e-12);
  EXPECT_NEAR(fit->parameters[1], 1.94, 1e-12);
  EXPECT_NEAR(fit->residual_deviation, std::sqrt(0.082 / 2), 1e-9);
  EXPECT_NEAR(fit->standard_errors[1], std::sqrt(0.041 / 5), 1e-8);
}

std::vector<double> cooling(const std::vector<double>& times, double final, double rise, double tau,
                            double noise) {
  std::vector<double> readings;
  double sign = noise;
  for (const double time : times) {
    readings.push_back(final + rise * std::exp(-time / tau) + sign);
    sign = -sign;
  }
  return readings;
}

const std::vector<double> kTimes{60, 120, 180, 240, 300, 360, 420, 480};

TEST(Fit, CoolingCurveIsExtrapolatedToShutDown) {
  const auto fit = fit_cooling(kTimes, cooling(kTimes, 0.45, 0.12, 600, 0));
  ASSERT_TRUE(fit);
  EXPECT_NEAR(fit->at_shut_down, 0.57, 1e-9);
  EXPECT_NEAR(fit->final, 0.45, 1e-7);
  EXPECT_NEAR(fit->time_constant, 600, 1e-3);
  EXPECT_NEAR(fit->at(60), 0.45 + 0.12 * std::exp(-0.1), 1e-9);
  EXPECT_LT(fit->standard_error, 1e-8);
}

TEST(Fit, CoolingCurveFromNoisyReadingsIsWithinItsStandardError) {
  const auto fit = fit_cooling(kTimes, cooling(kTimes, 0.45, 0.12, 300, 2e-5));
  ASSERT_TRUE(fit);
  EXPECT_NEAR(fit->at_shut_down, 0.57, 3 * fit->standard_error);
  EXPECT_GT(fit->standard_error, 1e-5);
  EXPECT_LT(fit->standard_error, 2e-4);
  EXPECT_EQ(fit->fit.residuals.size(), kTimes.size());
}

TEST(Fit, CoolingCurveThroughThreeReadingsHasNoStandardError) {
  // Falls by 1 and then by 1/2: the rest above 1 halves each second, 4 at shut-down.
  const auto fit = fit_cooling(std::vector<double>{1, 2, 3}, std::vector<double>{3, 2, 1.5});
  ASSERT_TRUE(fit);
  EXPECT_NEAR(fit->final, 1, 1e-9);
  EXPECT_NEAR(fit->at_shut_down, 5, 1e-9);
  EXPECT_NEAR(fit->time_constant, 1 / std::log(2), 1e-9);
  EXPECT_TRUE(std::isnan(fit->standard_error));
}

TEST(Fit, CoolingCurveFromUnequalTimes) {
  const std::vector<double> times{45, 70, 110, 200, 330, 600, 900};
  const auto fit = fit_cooling(times, cooling(times, 10.25, 2.5, 240, 0));
  ASSERT_TRUE(fit);
  EXPECT_NEAR(fit->at_shut_down, 12.75, 1e-9);
  EXPECT_NEAR(fit->time_constant, 240, 1e-6);
}

TEST(Fit, NoCoolingCurveThroughAStraightLineOrTooFewReadings) {
  std::vector<double> line;
  for (const double time : kTimes) {
    line.push_back(1 - time / 10000);
  }
  EXPECT_FALSE(fit_cooling(kTimes, line));
  EXPECT_FALSE(fit_cooling(std::vector<double>{1, 2}, std::vector<double>{3, 2}));
  EXPECT_FALSE(fit_cooling(kTimes, std::vector<double>(kTimes.size(), 2.0)));
  const std::vector<double> same_time(8, 60.0);
  EXPECT_FALSE(fit_cooling(same_time, cooling(kTimes, 0.45, 0.12, 600, 0)));
}

TEST(Fit, NoFitWithFewerReadingsThanParameters) {
  const std::array one{1.0};
  EXPECT_FALSE(fit_curve(misra, one, one, {1, 1}));
  EXPECT_FALSE(fit_line(one, one));
}

}  // namespace
}  // namespace report

#include "report/figures/statistics.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

#include "report/figures/numbers.h"

namespace report {
namespace {

/// Voltage in V, current in mA and angle in rad, read together five times.
const std::vector<std::vector<double>> kReadings{{5.007, 4.994, 5.005, 4.990, 4.999},
                                                 {19.663, 19.639, 19.640, 19.685, 19.678},
                                                 {1.0456, 1.0438, 1.0468, 1.0428, 1.0433}};

TEST(Statistics, OfFiveReadings) {
  const auto summary = summarize(kReadings[0]);
  ASSERT_TRUE(summary && summary->spread);
  EXPECT_EQ(summary->count, 5U);
  EXPECT_EQ(summary->smallest, 4.990);
  EXPECT_EQ(summary->largest, 5.007);
  EXPECT_EQ(fixed(summary->spread->mean, 4), "4.9990");
  EXPECT_EQ(fixed(summary->spread->mean_deviation, 4), "0.0032");
  EXPECT_NEAR(summary->spread->deviation, 0.0071764, 1e-7);
  EXPECT_DOUBLE_EQ(summary->spread->repeatability, 2.8 * summary->spread->deviation);
  EXPECT_EQ(fixed(mean_of(kReadings[1]), 4), "19.6610");
  EXPECT_EQ(fixed(mean_of(kReadings[2]), 5), "1.04446");
  EXPECT_EQ(fixed(summarize(kReadings[1])->spread->mean_deviation, 4), "0.0095");
  EXPECT_EQ(fixed(summarize(kReadings[2])->spread->mean_deviation, 5), "0.00075");
}

TEST(Statistics, OfReadingsThatCorrelate) {
  EXPECT_EQ(fixed(correlation(kReadings[0], kReadings[1]), 2), "-0.36");
  EXPECT_EQ(fixed(correlation(kReadings[0], kReadings[2]), 2), "0.86");
  EXPECT_EQ(fixed(correlation(kReadings[1], kReadings[2]), 2), "-0.65");
}

std::string text_of(const Uncertain& result) {
  return fixed(result.value, 3) + " (" + fixed(result.uncertainty, 3) + ")";
}

double impedance(std::span<const double> in) { return in[0] / in[1] * 1000; }
double resistance(std::span<const double> in) { return impedance(in) * std::cos(in[2]); }
double reactance(std::span<const double> in) { return impedance(in) * std::sin(in[2]); }

TEST(Statistics, PassUncertaintyOfReadingsTakenTogetherIntoAnImpedance) {
  EXPECT_EQ(text_of(mean_of_sets(resistance, kReadings)), "127.732 (0.071)");
  EXPECT_EQ(text_of(mean_of_sets(reactance, kReadings)), "219.847 (0.295)");
  EXPECT_EQ(text_of(mean_of_sets(impedance, kReadings)), "254.260 (0.236)");
}

TEST(Statistics, PassUncertaintyOfCorrelatedMeansIntoAnImpedance) {
  const Estimates estimates = estimates_of(kReadings);
  EXPECT_EQ(text_of(propagate(resistance, estimates)), "127.732 (0.071)");
  // 0.29558 by the first order, 0.29549 from the sets.
  EXPECT_NEAR(propagate(reactance, estimates).value, 219.847, 5e-4);
  EXPECT_NEAR(propagate(reactance, estimates).uncertainty, 0.29558, 1e-5);
  EXPECT_EQ(text_of(propagate(impedance, estimates)), "254.260 (0.236)");
}

TEST(Statistics, StatedCorrelationsGiveTheSameAsReadings) {
  const std::array values{4.9990, 19.6610, 1.04446};
  const std::array uncertainties{0.0032094, 0.0094710, 0.00075206};
  const std::array correlations{1.0, -0.36, 0.86, -0.36, 1.0, -0.65, 0.86, -0.65, 1.0};
  const Uncertain z = propagate(impedance, estimates_from(values, uncertainties, correlations));
  EXPECT_NEAR(z.uncertainty, 0.2367, 5e-5);
  const Uncertain without = propagate(impedance, estimates_from(values, uncertainties));
  EXPECT_NEAR(without.uncertainty, 254.26 * std::hypot(0.0032094 / 4.999, 0.009471 / 19.661), 1e-5);
}

TEST(Statistics, FewReadingsHaveNoMean) {
  EXPECT_FALSE(summarize({}));
  const std::array two{3.0, 1.0};
  const auto summary = summarize(two);
  ASSERT_TRUE(summary);
  EXPECT_EQ(summary->smallest, 1);
  EXPECT_EQ(summary->largest, 3);
  EXPECT_FALSE(summary->spread);
}

TEST(Statistics, LeaveOutWhatIsNoNumber) {
  const std::array readings{1.0, std::nan(""), 2.0, HUGE_VAL, 3.0};
  EXPECT_EQ(summarize(readings)->count, 3U);
  EXPECT_EQ(summarize(readings)->spread->mean, 2);
  const std::array none{std::nan("")};
  EXPECT_FALSE(summarize(none));
}

TEST(Statistics, ExpandedUncertainty) { EXPECT_DOUBLE_EQ(expanded_uncertainty(2, 0.3, 0.4), 1.0); }

}  // namespace
}  // namespace report

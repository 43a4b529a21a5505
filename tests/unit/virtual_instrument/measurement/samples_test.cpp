#include "virtual_instrument/measurement/samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "virtual_instrument/bench/bench_reader.h"

namespace virtual_instrument {
namespace {

constexpr int kPerPeriod = 64;
constexpr int kStepsPerPeriod = 1024;

/// amplitude * sin(angle + phase) + third * sin(3 * angle), sampled as the instrument does.
Samples wave(double amplitude, double phase, double third, int periods = 3) {
  Samples samples;
  for (int i = 1; i <= kPerPeriod * periods; ++i) {
    const double angle = 2 * std::numbers::pi * i / kPerPeriod;
    samples.push_back(amplitude * std::sin(angle + phase) + third * std::sin(3 * angle));
  }
  return samples;
}

TEST(Samples, RmsHoldsAllHarmonics) {
  EXPECT_NEAR(rms(wave(3, 0.2, 4)), 5 / std::numbers::sqrt2, 1e-12);
}

TEST(Samples, PeakIsTheGreatestEitherWay) {
  EXPECT_EQ(peak({1, -3, 2}), 3);
  EXPECT_EQ(peak({1, -3, 4}), 4);
  EXPECT_EQ(peak({0.25, -0.5}), 0.5);
}

TEST(Samples, FundamentalIsAnRmsPhasorWithoutHarmonics) {
  const std::complex<double> phasor = fundamental(wave(10, 0.3, 4), kPerPeriod);
  EXPECT_NEAR(std::abs(phasor), 10 / std::numbers::sqrt2, 1e-12);
  EXPECT_NEAR(std::arg(phasor), 0.3, 1e-12);
}

TEST(Samples, FrequencyComesFromPassagesThroughZero) {
  EXPECT_NEAR(measured_frequency(wave(10, 0.3, 0), 64 * 50.0), 50, 1e-9);
  EXPECT_NEAR(measured_frequency(wave(10, 0, 0, 2), 64 * 60.0), 60, 1e-9);
  EXPECT_NEAR(measured_frequency(wave(10, -2, 0, 2), 64 * 60.0), 60, 1e-9);
  EXPECT_EQ(measured_frequency(Samples(100, 0.0), 1000), 0);
  EXPECT_EQ(measured_frequency(Samples{-1, 1, 2, 1}, 1000), 0);
  EXPECT_DOUBLE_EQ(measured_frequency(Samples{-1, 1, -1}, 1000), 500);
}

// Their r.m.s. value is 4, so that the first sample is at a quarter of it, and not beyond.
TEST(Samples, FrequencyCountsPassagesFromBeyondAQuarterOfTheRms) {
  EXPECT_DOUBLE_EQ(measured_frequency(Samples{1, -7, 5, -2, 1}, 1000), 480);
}

TEST(Samples, FrequencyCountsNoPassageThatEndsAtZero) {
  EXPECT_DOUBLE_EQ(measured_frequency(Samples{1, -1, 1, -1, -1, 0}, 1000), 500);
}

TEST(Samples, FrequencyIsNotMistakenForNoise) {
  Noise noise(3);
  Samples samples = wave(10, 0.01, 0, 10);
  for (double& value : samples) {
    value += 0.5 * noise.next();
  }
  EXPECT_NEAR(measured_frequency(samples, 64 * 60.0), 60, 0.2);
}

class SampleTest : public testing::Test {
 protected:
  SampleTest() {
    settings_.periods = 4;
    settings_.samples_per_period = kPerPeriod;
    settings_.noise = 0;
    waves_.voltage[Side::high].resize(kStepsPerPeriod);
    for (int i = 0; i < kStepsPerPeriod; ++i) {
      waves_.voltage[Side::high][static_cast<std::size_t>(i)] =
          std::sin(2 * std::numbers::pi * (i + 1) / kStepsPerPeriod);
    }
    waves_.voltage[Side::low] = waves_.current[Side::high] = waves_.voltage[Side::high];
    waves_.current[Side::low].assign(kStepsPerPeriod, 0.0);
  }

  SampledTest sampled() {
    Noise noise(1);
    return sample(waves_, Side::low, 60, settings_, noise);
  }

  MeasurementSettings settings_ = built_in_bench().measurement;
  Waveforms waves_;
};

TEST_F(SampleTest, RepeatsThePeriod) {
  const SampledTest test = sampled();
  EXPECT_EQ(test.voltage[Side::high].size(), 4U * kPerPeriod);
  EXPECT_EQ(test.sample_rate, 60 * kPerPeriod);
  EXPECT_EQ(test.samples_per_period, kPerPeriod);
  EXPECT_EQ(test.excited, Side::low);
  for (std::size_t i = 0; i < test.voltage[Side::high].size(); ++i) {
    EXPECT_NEAR(test.voltage[Side::high][i],
                std::sin(2 * std::numbers::pi * static_cast<double>(i + 1) / kPerPeriod), 1e-12);
  }
}

TEST_F(SampleTest, NoiseIsAShareOfEachChannelOnItsOwn) {
  settings_.noise = 1;
  settings_.periods = 100;
  const SampledTest test = sampled();
  double squares = 0;
  for (std::size_t i = 0; i < test.voltage[Side::high].size(); ++i) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(i + 1) / kPerPeriod;
    squares += std::pow(test.voltage[Side::high][i] - std::sin(angle), 2);
  }
  EXPECT_NEAR(std::sqrt(squares / static_cast<double>(test.voltage[Side::high].size())),
              0.01 / std::numbers::sqrt2, 0.0003);
  EXPECT_NE(test.voltage[Side::high], test.voltage[Side::low]);
  EXPECT_EQ(test.current[Side::low], Samples(test.current[Side::low].size(), 0.0));
}

TEST_F(SampleTest, EveryNumberOfSamplesFitsThePeriod) {
  for (std::int32_t count = 16; count <= kStepsPerPeriod; count *= 2) {
    settings_.samples_per_period = count;
    EXPECT_EQ(sampled().voltage[Side::high].size(), 4U * static_cast<std::size_t>(count));
  }
}

}  // namespace
}  // namespace virtual_instrument

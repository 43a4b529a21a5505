#include "virtual_instrument/model/transformer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <vector>

#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/measurement/samples.h"
#include "virtual_instrument/model/steady_state.h"

namespace virtual_instrument {
namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

/// A textbook T circuit, linear.
TransformerSettings textbook() {
  TransformerSettings settings = built_in_bench().transformer;
  settings.high_voltage = 8000;
  settings.low_voltage = 240;
  settings.frequency = 60;
  settings.high_resistance = 15;
  settings.high_reactance = 120;
  settings.low_resistance = 0.02;
  settings.low_reactance = 0.15;
  settings.core_resistance = 200e3;
  settings.magnetizing_reactance = 30e3;
  settings.low_flux_excess = 0;
  settings.saturation = false;
  return settings;
}

/// The same with a knee, and iron that is less permeable towards zero flux.
TransformerSettings saturating() {
  TransformerSettings settings = textbook();
  settings.low_flux_excess = 1.5;
  settings.saturation = true;
  settings.knee_flux = 1.15;
  settings.knee_width = 0.08;
  settings.saturated_reactance = 30;
  return settings;
}

struct Reading {
  std::complex<double> high;
  std::complex<double> low;
  std::complex<double> current;
  double current_rms;
};

Reading read(const TransformerSettings& settings, Side side, double voltage,
             double frequency = 60) {
  const Waveforms waves = excite(make_transformer(settings), {side, voltage, frequency});
  const auto phasor = [](const std::vector<double>& channel) {
    return fundamental(channel, kStepsPerPeriod);
  };
  const std::vector<double>& current = side == Side::high ? waves.current_high : waves.current_low;
  return {phasor(waves.voltage_high), phasor(waves.voltage_low), phasor(current), rms(current)};
}

/// Percent by which the measured ratio is above the rated one.
double ratio_error(const Reading& reading) {
  return (std::abs(reading.high / reading.low) / (8000.0 / 240.0) - 1) * 100;
}

TEST(Transformer, ReadsTheErrorOfTheTextbookCircuit) {
  const Reading reading = read(textbook(), Side::high, 8000);
  EXPECT_NEAR(ratio_error(reading), 0.4075, 0.0005);
  EXPECT_NEAR(std::arg(reading.high / reading.low) * kDegrees, 0.0057, 0.0001);
}

TEST(Transformer, DrawsTheCurrentOfTheTextbookCircuit) {
  EXPECT_NEAR(read(textbook(), Side::high, 8000).current_rms, 0.26856, 0.26856e-4);
  EXPECT_NEAR(read(textbook(), Side::high, 100).current_rms, 3.357e-3, 3.357e-6);
}

// The circuit solved by complex numbers is an independent way to the same figures.
TEST(Transformer, AgreesWithPhasorsFromEitherSideAtEitherFrequency) {
  const TransformerSettings settings = textbook();
  const std::complex<double> j(0, 1);
  for (const Side side : {Side::high, Side::low}) {
    for (const double frequency : {50.0, 60.0}) {
      const double k = frequency / settings.frequency;
      const double ratio = 8000.0 / 240.0;
      const double seen = side == Side::high ? 1 : 1 / (ratio * ratio);
      const std::complex<double> series =
          side == Side::high ? settings.high_resistance + j * k * settings.high_reactance
                             : settings.low_resistance + j * k * settings.low_reactance;
      const std::complex<double> shunt =
          seen / (1 / settings.core_resistance + 1.0 / (j * k * settings.magnetizing_reactance));
      const std::complex<double> current = 100.0 / (series + shunt);
      const std::complex<double> induced = 100.0 - series * current;

      const Reading reading = read(settings, side, 100, frequency);
      const std::complex<double> other =
          side == Side::high ? reading.low * ratio : reading.high / ratio;
      EXPECT_NEAR(std::abs(reading.current - current) / std::abs(current), 0, 2e-5);
      EXPECT_NEAR(std::abs(other - induced) / std::abs(induced), 0, 1e-6);
    }
  }
}

TEST(Transformer, CarriesNoCurrentOnTheOpenSide) {
  const Waveforms down = excite(make_transformer(textbook()), {Side::high, 100, 60});
  const Waveforms up = excite(make_transformer(textbook()), {Side::low, 10, 60});
  EXPECT_EQ(rms(down.current_low), 0);
  EXPECT_EQ(rms(up.current_high), 0);
}

TEST(Transformer, PutsTheAskedVoltageOnTheExcitedTerminals) {
  EXPECT_NEAR(std::abs(read(saturating(), Side::high, 47).high), 47, 1e-9);
  EXPECT_NEAR(std::abs(read(saturating(), Side::low, 47).low), 47, 1e-9);
  EXPECT_NEAR(std::arg(read(saturating(), Side::low, 47).low), 0, 1e-12);
}

TEST(Transformer, ErrsMoreTowardsLowVoltage) {
  double last = ratio_error(read(saturating(), Side::high, 4000));
  for (const double voltage : {1000.0, 250.0, 50.0, 10.0, 1.0}) {
    const double error = ratio_error(read(saturating(), Side::high, voltage));
    EXPECT_GT(error, last) << voltage;
    last = error;
  }
  EXPECT_LT(last, 0.4075 * 2.6);
}

TEST(Transformer, ErrsMoreInSaturation) {
  double last = ratio_error(read(saturating(), Side::high, 8000));
  for (const double voltage : {9500.0, 11000.0, 16000.0}) {
    const double error = ratio_error(read(saturating(), Side::high, voltage));
    EXPECT_GT(error, last) << voltage;
    last = error;
  }
}

TEST(Transformer, DistortsTheCurrentInSaturationOnly) {
  const auto distortion = [](const Reading& reading) {
    return std::sqrt(std::pow(reading.current_rms / std::abs(reading.current), 2) - 1);
  };
  EXPECT_LT(distortion(read(saturating(), Side::high, 5000)), 0.05);
  EXPECT_GT(distortion(read(saturating(), Side::high, 11000)), 0.5);
}

TEST(Transformer, RunsIntoSaturationOnOneSideOfTheResidualFlux) {
  TransformerSettings settings = saturating();
  const Reading clean = read(settings, Side::high, 5000);
  settings.residual_flux = 0.8;
  const Waveforms waves = excite(make_transformer(settings), {Side::high, 5000, 60});
  const auto [low, high] =
      std::minmax_element(waves.current_high.begin(), waves.current_high.end());
  EXPECT_GT(*high, -2 * *low);
  EXPECT_GT(rms(waves.current_high), 2 * clean.current_rms);
  // A source without direct voltage drives no direct current.
  const double mean =
      std::accumulate(waves.current_high.begin(), waves.current_high.end(), 0.0) / kStepsPerPeriod;
  EXPECT_NEAR(mean / rms(waves.current_high), 0, 1e-5);
}

TEST(Transformer, FluxIsTheIntegralOfTheInducedVoltage) {
  const TransformerSettings settings = saturating();
  const Transformer transformer = make_transformer(settings);
  const Waveforms waves = excite(transformer, {Side::high, 10000, 60});
  const double step = 1.0 / 60 / kStepsPerPeriod;
  std::vector<double> flux;
  double sum = 0;
  double before = waves.voltage_low.back();
  for (const double voltage : waves.voltage_low) {
    sum += (voltage + before) / 2 * transformer.turns_ratio * step;
    flux.push_back(sum);
    before = voltage;
  }
  EXPECT_NEAR(flux.back(), 0, 1e-6);
  const double offset =
      (*std::max_element(flux.begin(), flux.end()) + *std::min_element(flux.begin(), flux.end())) /
      2;
  const double peak = *std::max_element(waves.current_high.begin(), waves.current_high.end());
  for (std::size_t i = 0; i < flux.size(); ++i) {
    const double expected =
        waves.voltage_low[i] * transformer.turns_ratio * transformer.core.core_conductance +
        transformer.core.current(flux[i] - offset);
    EXPECT_NEAR(waves.current_high[i], expected, peak * 2e-3) << i;
  }
}

// Everything that a bench file can ask for has to find its steady state.
TEST(Transformer, FindsASteadyStateHoweverHardItIsDriven) {
  TransformerSettings settings = saturating();
  for (const double residual : {-3.0, 0.0, 1.2}) {
    settings.residual_flux = residual;
    for (const double reactance : {0.0, 15.0}) {
      settings.low_reactance = reactance;
      for (const double saturated : {0.003, 3.0}) {
        settings.saturated_reactance = saturated;
        for (const double width : {1e-3, 0.08}) {
          settings.knee_width = width;
          for (const double voltage : {1e-3, 240.0, 600.0, 1e4}) {
            SCOPED_TRACE(testing::Message() << residual << " " << reactance << " " << saturated
                                            << " " << width << " " << voltage);
            const Reading reading = read(settings, Side::low, voltage);
            EXPECT_GT(reading.current_rms, 0);
            EXPECT_LE(reading.current_rms, 2 * voltage / settings.low_resistance);
          }
        }
      }
    }
  }
}

// A flux offset would fade over years there, so there must be none from the beginning.
TEST(Transformer, FindsASteadyStateWithNextToNoResistance) {
  TransformerSettings settings = saturating();
  settings.high_resistance = 1e-6;
  for (const double residual : {0.0, 0.8}) {
    settings.residual_flux = residual;
    for (const double reactance : {0.0, 120.0}) {
      settings.high_reactance = reactance;
      for (const double voltage : {24.0, 8000.0}) {
        const Waveforms waves = excite(make_transformer(settings), {Side::high, voltage, 60});
        const double mean =
            std::accumulate(waves.current_high.begin(), waves.current_high.end(), 0.0) /
            kStepsPerPeriod;
        EXPECT_NEAR(mean / rms(waves.current_high), 0, 0.02);
      }
    }
  }
}

TEST(Transformer, TakesTheTurnsFromTheRatedRatioAndItsDeviation) {
  TransformerSettings settings = textbook();
  settings.turns_deviation = 0.5;
  EXPECT_DOUBLE_EQ(make_transformer(settings).turns_ratio, 8000.0 / 240 * 1.005);
}

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/bench/bench_unit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <vector>

#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/measurement/unit_waveforms.h"

namespace virtual_instrument {
namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

/// A textbook T circuit, linear.
TransformerSettings textbook() {
  TransformerSettings settings = built_in_bench().transformer;
  settings.vector_group = {KVR_WINDING_1P, KVR_WINDING_1P, 0};
  settings.high_voltage = 8000;
  settings.low_voltage = 240;
  settings.frequency = 60;
  settings.high_resistance = 15;
  settings.high_reactance = 120;
  settings.low_resistance = 0.02;
  settings.low_reactance = 0.15;
  settings.core_resistance = 200e3;
  settings.hysteresis_share = 0;
  settings.magnetizing_reactance = 30e3;
  settings.low_flux_excess = 0;
  settings.saturation = false;
  return settings;
}

/// The same with a knee, and with lower permeability near zero flux.
TransformerSettings saturating() {
  TransformerSettings settings = textbook();
  settings.low_flux_excess = 1.5;
  settings.saturation = true;
  settings.knee_flux = 1.15;
  settings.knee_width = 0.08;
  settings.saturated_reactance = 30;
  return settings;
}

TransformerUnit unit_with(const TransformerSettings& settings) {
  Bench bench = built_in_bench();
  bench.transformer = settings;
  return make_unit(bench);
}

PeriodicState excite(const TransformerUnit& unit, Side side, double voltage,
                     double frequency = 60) {
  return excite_pair(unit_network(unit, kInputResistance),
                     {side, {1, 2}, voltage, frequency, other_side(side), {1, 2}});
}

/// The terminals over one period.
struct PeriodWaveforms {
  std::vector<double> high;
  std::vector<double> low;
  std::vector<double> current;
};

PeriodWaveforms waveforms_of(const PeriodicState& state) {
  return {terminal_waveform(terminal_voltage(state, Side::high, {1, 2})),
          terminal_waveform(terminal_voltage(state, Side::low, {1, 2})),
          terminal_waveform(state.source_current[0])};
}

struct Reading {
  std::complex<double> high;
  std::complex<double> low;
  std::complex<double> current;
  double current_rms;
};

Reading read(const TransformerSettings& settings, Side side, double voltage,
             double frequency = 60) {
  const PeriodWaveforms waves = waveforms_of(excite(unit_with(settings), side, voltage, frequency));
  const auto phasor = [](const std::vector<double>& channel) {
    return fundamental(channel, kFinestSteps);
  };
  return {phasor(waves.high), phasor(waves.low), phasor(waves.current), rms(waves.current)};
}

/// How much the measured ratio exceeds the rated one, in percent.
double ratio_error(const Reading& reading) {
  return (std::abs(reading.high / reading.low) / (8000.0 / 240.0) - 1) * 100;
}

TEST(BenchUnit, HasTheMetalAndTheResistancesOfItsLimbs) {
  TransformerSettings settings = textbook();
  EXPECT_EQ(unit_with(settings).conductor.zero, 234.5);
  settings.conductor = kAluminium;
  settings.high_resistance_deviation = {0, 3, -1};
  settings.low_resistance_deviation = {2, 0, 0};
  const TransformerUnit unit = unit_with(settings);
  EXPECT_EQ(unit.conductor.zero, 225);
  EXPECT_THAT(unit.windings[Side::high].deviation, testing::ElementsAre(0, 0.03, -0.01));
  EXPECT_THAT(unit.windings[Side::low].deviation, testing::ElementsAre(0.02, 0, 0));
}

TEST(BenchUnit, ReadsTheErrorOfTheTextbookCircuit) {
  const Reading reading = read(textbook(), Side::high, 8000);
  EXPECT_NEAR(ratio_error(reading), 0.4075, 0.0005);
  EXPECT_NEAR(std::arg(reading.high / reading.low) * kDegrees, 0.0057, 0.0001);
}

TEST(BenchUnit, DrawsTheCurrentOfTheTextbookCircuit) {
  EXPECT_NEAR(read(textbook(), Side::high, 8000).current_rms, 0.26856, 0.26856e-4);
  EXPECT_NEAR(read(textbook(), Side::high, 100).current_rms, 3.357e-3, 3.357e-6);
}

// Complex phasors solve the same circuit independently.
TEST(BenchUnit, AgreesWithPhasorsFromEitherSideAtEitherFrequency) {
  const TransformerSettings settings = textbook();
  const std::complex<double> j(0, 1);
  for (const Side side : kSides) {
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
      // The input that measures the open side also draws a small current.
      EXPECT_NEAR(std::abs(reading.current - current) / std::abs(current), 0, 1e-4);
      EXPECT_NEAR(std::abs(other - induced) / std::abs(induced), 0, 1e-6);
    }
  }
}

TEST(BenchUnit, PutsTheAskedVoltageOnTheExcitedTerminals) {
  EXPECT_NEAR(std::abs(read(saturating(), Side::high, 47).high), 47, 1e-9);
  EXPECT_NEAR(std::abs(read(saturating(), Side::low, 47).low), 47, 1e-9);
  EXPECT_NEAR(std::arg(read(saturating(), Side::low, 47).low), 0, 1e-12);
}

TEST(BenchUnit, ErrsMoreTowardsLowVoltage) {
  double last = ratio_error(read(saturating(), Side::high, 4000));
  for (const double voltage : {1000.0, 250.0, 50.0, 10.0, 1.0}) {
    const double error = ratio_error(read(saturating(), Side::high, voltage));
    EXPECT_GT(error, last) << voltage;
    last = error;
  }
  EXPECT_LT(last, 0.4075 * 2.6);
}

TEST(BenchUnit, ErrsMoreInSaturation) {
  double last = ratio_error(read(saturating(), Side::high, 8000));
  for (const double voltage : {9500.0, 11000.0, 16000.0}) {
    const double error = ratio_error(read(saturating(), Side::high, voltage));
    EXPECT_GT(error, last) << voltage;
    last = error;
  }
}

TEST(BenchUnit, DistortsTheCurrentInSaturationOnly) {
  const auto distortion = [](const Reading& reading) {
    return std::sqrt(std::pow(reading.current_rms / std::abs(reading.current), 2) - 1);
  };
  EXPECT_LT(distortion(read(saturating(), Side::high, 5000)), 0.05);
  EXPECT_GT(distortion(read(saturating(), Side::high, 11000)), 0.5);
}

TEST(BenchUnit, RunsIntoSaturationOnOneSideOfTheResidualFlux) {
  TransformerSettings settings = saturating();
  const Reading clean = read(settings, Side::high, 5000);
  settings.residual_flux[0] = 0.8;
  settings.remanence_excess = 0;
  const PeriodWaveforms waves = waveforms_of(excite(unit_with(settings), Side::high, 5000));
  const auto [low, high] = std::minmax_element(waves.current.begin(), waves.current.end());
  EXPECT_GT(*high, -2 * *low);
  EXPECT_GT(rms(waves.current), 2 * clean.current_rms);
  // A source without direct voltage drives no direct current.
  const double mean =
      std::accumulate(waves.current.begin(), waves.current.end(), 0.0) / kFinestSteps;
  EXPECT_NEAR(mean / rms(waves.current), 0, 1e-9);
}

TEST(BenchUnit, FluxIsTheIntegralOfTheInducedVoltage) {
  const TransformerUnit unit = unit_with(saturating());
  const PeriodWaveforms waves = waveforms_of(excite(unit, Side::high, 10000));
  const double step = 1.0 / 60 / kFinestSteps;
  std::vector<double> flux;
  double sum = 0;
  double before = waves.low.back();
  for (const double voltage : waves.low) {
    sum += (voltage + before) / 2 * turns_ratio(unit) * step;
    flux.push_back(sum);
    before = voltage;
  }
  EXPECT_NEAR(flux.back(), 0, 1e-6);
  const double offset =
      (*std::max_element(flux.begin(), flux.end()) + *std::min_element(flux.begin(), flux.end())) /
      2;
  const double peak = *std::max_element(waves.current.begin(), waves.current.end());
  for (std::size_t i = 0; i < flux.size(); ++i) {
    const double expected = waves.low[i] * turns_ratio(unit) * unit.core.limb.core_conductance +
                            unit.core.limb.current(flux[i] - offset);
    // The difference is harmonics above those that are solved for.
    EXPECT_NEAR(waves.current[i], expected, peak * 0.06) << i;
  }
}

// Every plausible unit must reach its steady state.
TEST(BenchUnit, FindsASteadyStateHoweverHardItIsDriven) {
  TransformerSettings settings = saturating();
  for (const double residual : {-3.0, 0.0, 1.2}) {
    settings.residual_flux[0] = residual;
    for (const double reactance : {0.0, 15.0}) {
      settings.low_reactance = reactance;
      for (const double saturated : {0.03, 3.0}) {
        settings.saturated_reactance = saturated;
        for (const double width : {0.01, 0.08}) {
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

// A flux offset would take years to fade there, so there must be none at the start.
TEST(BenchUnit, FindsASteadyStateWithNextToNoResistance) {
  TransformerSettings settings = saturating();
  settings.high_resistance = 1e-6;
  for (const double residual : {0.0, 0.8}) {
    settings.residual_flux[0] = residual;
    for (const double reactance : {0.0, 120.0}) {
      settings.high_reactance = reactance;
      for (const double voltage : {24.0, 8000.0}) {
        const PeriodWaveforms waves =
            waveforms_of(excite(unit_with(settings), Side::high, voltage));
        const double mean =
            std::accumulate(waves.current.begin(), waves.current.end(), 0.0) / kFinestSteps;
        EXPECT_NEAR(mean / rms(waves.current), 0, 1e-9);
      }
    }
  }
}

TEST(BenchUnit, TakesTheTurnsFromTheRatedRatioAndItsDeviation) {
  TransformerSettings settings = textbook();
  settings.turns_deviation = 0.5;
  EXPECT_DOUBLE_EQ(turns_ratio(unit_with(settings)), 8000.0 / 240 * 1.005);
}

}  // namespace
}  // namespace virtual_instrument

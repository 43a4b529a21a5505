#include "report/figures/waveform.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace report {
namespace {

double rms_of(std::span<const double> samples) {
  double sum = 0;
  for (const double sample : samples) {
    sum += sample * sample;
  }
  return std::sqrt(sum / static_cast<double>(samples.size()));
}

double amplitude(std::span<const double> samples, double cycles) {
  std::complex<double> sum;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double turns = cycles * static_cast<double>(i) / static_cast<double>(samples.size());
    sum += samples[i] * std::polar(1.0, -2 * std::numbers::pi * (turns - std::floor(turns)));
  }
  return std::abs(sum) * std::numbers::sqrt2 / static_cast<double>(samples.size());
}

/// Samples per period from rises through zero, the first and the last; 0 without two of them.
double period_of(std::span<const double> samples) {
  double first = 0;
  double last = 0;
  int rises = 0;
  bool is_armed = false;
  const double threshold = rms_of(samples) / 4;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    is_armed = is_armed || samples[i - 1] < -threshold;
    if (is_armed && samples[i - 1] < 0 && samples[i] >= 0) {
      is_armed = false;
      last = static_cast<double>(i) - samples[i] / (samples[i] - samples[i - 1]);
      first = rises == 0 ? last : first;
      ++rises;
    }
  }
  return rises < 2 ? 0 : (last - first) / (rises - 1);
}

}  // namespace

std::optional<Harmonics> harmonics_of(std::span<const double> samples, double sample_rate,
                                      std::size_t highest) {
  const double measured = samples.empty() ? 0 : period_of(samples);
  const double period = std::round(measured);
  if (!(period >= 4) || std::abs(measured - period) > 0.02 * period) {
    return std::nullopt;
  }
  const auto length = static_cast<std::size_t>(period);
  const std::size_t cycles = samples.size() / length;
  const std::span<const double> whole = samples.first(cycles * length);
  Harmonics harmonics{sample_rate / period, {}, 0, rms_of(whole), 0};
  harmonics.fundamental = amplitude(whole, static_cast<double>(cycles));
  double squares = 0;
  for (std::size_t order = 1; order <= highest && 2 * order < length; ++order) {
    const double share =
        amplitude(whole, static_cast<double>(order * cycles)) / harmonics.fundamental * 100;
    harmonics.percent.push_back(share);
    squares += order == 1 ? 0 : share * share;
  }
  harmonics.distortion_percent = std::sqrt(squares);
  return harmonics;
}

}  // namespace report

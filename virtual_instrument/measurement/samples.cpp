#include "virtual_instrument/measurement/samples.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace virtual_instrument {
namespace {

Samples sample_channel(const std::vector<double>& period, const MeasurementSettings& settings,
                       Noise& noise) {
  const auto stride = period.size() / static_cast<std::size_t>(settings.samples_per_period);
  const double deviation = settings.noise / 100 * rms(period);
  Samples samples;
  for (std::int32_t number = 0; number < settings.periods; ++number) {
    for (std::size_t step = stride - 1; step < period.size(); step += stride) {
      samples.push_back(period[step] + deviation * noise.next());
    }
  }
  return samples;
}

}  // namespace

SampledTest sample(const Waveforms& waveforms, Side excited, double frequency,
                   const MeasurementSettings& settings, Noise& noise) {
  SampledTest test{};
  test.sample_rate = frequency * settings.samples_per_period;
  test.samples_per_period = settings.samples_per_period;
  test.excited = excited;
  for (const Side side : kSides) {
    test.voltage[side] = sample_channel(waveforms.voltage[side], settings, noise);
  }
  for (const Side side : kSides) {
    test.current[side] = sample_channel(waveforms.current[side], settings, noise);
  }
  return test;
}

double rms(const Samples& samples) {
  double sum = 0;
  for (const double value : samples) {
    sum += value * value;
  }
  return std::sqrt(sum / static_cast<double>(samples.size()));
}

double peak(const Samples& samples) {
  double greatest = 0;
  for (const double value : samples) {
    greatest = std::max(greatest, std::abs(value));
  }
  return greatest;
}

Complex fundamental(const Samples& samples, int samples_per_period) {
  const auto period = static_cast<std::size_t>(samples_per_period);
  std::vector<Complex> circle(period);
  for (std::size_t i = 0; i < period; ++i) {
    // The source is a sine; its first sample is one step after its rise through zero.
    circle[i] = phasor_at(0.25 - static_cast<double>(i + 1) / samples_per_period);
  }
  double real = 0;
  double imaginary = 0;
  for (std::size_t number = 0; number < samples.size(); ++number) {
    const Complex& phasor = circle[number % period];
    real += samples[number] * phasor.real();
    imaginary += samples[number] * phasor.imag();
  }
  return Complex(real, imaginary) * (std::numbers::sqrt2 / static_cast<double>(samples.size()));
}

double measured_frequency(const Samples& samples, double sample_rate) {
  double first = 0;
  double last = 0;
  int crossings = 0;
  double armed = 0;  // last value beyond the threshold, so that noise adds no crossing
  const double threshold = rms(samples) / 4;
  for (std::size_t number = 1; number < samples.size(); ++number) {
    const double before = samples[number - 1];
    const double after = samples[number];
    if (std::abs(before) > threshold) {
      armed = before;
    }
    if (armed * after < 0 && before * after <= 0) {
      armed = 0;
      last = static_cast<double>(number) - after / (after - before);
      first = crossings == 0 ? last : first;
      ++crossings;
    }
  }
  return crossings < 2 ? 0.0 : (crossings - 1) * sample_rate / (2 * (last - first));
}

}  // namespace virtual_instrument

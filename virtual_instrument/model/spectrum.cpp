#include "virtual_instrument/model/spectrum.h"

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

/// The unit circle in kFinestSteps steps, beginning at the angle 0.
using Circle = std::array<Complex, kFinestSteps>;

const Circle& circle() {
  static const Circle phasors = [] {
    Circle made;
    for (int step = 0; step < kFinestSteps; ++step) {
      made[index(step)] = phasor_at(static_cast<double>(step) / kFinestSteps);
    }
    return made;
  }();
  return phasors;
}

void add_harmonic(std::span<double> values, std::size_t harmonic, Complex amplitude) {
  const Circle& phasors = circle();
  const std::size_t stride = phasors.size() / values.size() * harmonic;
  for (std::size_t step = 0; step < values.size(); ++step) {
    const Complex& phasor = phasors[step * stride % kFinestSteps];
    values[step] += amplitude.real() * phasor.real() - amplitude.imag() * phasor.imag();
  }
}

}  // namespace

Complex unit_phasor(std::size_t step, std::size_t count) {
  return circle()[step * (kFinestSteps / count) % kFinestSteps];
}

void add_waveform(std::span<double> values, const Spectrum& spectrum) {
  for (std::size_t harmonic = 0; harmonic < spectrum.size(); ++harmonic) {
    if (spectrum[harmonic] != Complex{}) {
      add_harmonic(values, harmonic, spectrum[harmonic]);
    }
  }
}

std::vector<double> waveform(const Spectrum& spectrum, int count) {
  std::vector<double> values(index(count));
  add_waveform(values, spectrum);
  return values;
}

Complex harmonic_of(std::span<const double> values, std::size_t harmonic) {
  const Circle& phasors = circle();
  const std::size_t stride = phasors.size() / values.size() * harmonic;
  double real = 0;
  double imaginary = 0;
  for (std::size_t step = 0; step < values.size(); ++step) {
    const Complex& phasor = phasors[step * stride % kFinestSteps];
    real += values[step] * phasor.real();
    imaginary -= values[step] * phasor.imag();
  }
  return Complex(real, imaginary) /
         ((harmonic == 0 ? 1.0 : 0.5) * static_cast<double>(values.size()));
}

Spectrum difference(const Spectrum& a, const Spectrum& b) {
  Spectrum result{};
  for (std::size_t harmonic = 0; harmonic < result.size(); ++harmonic) {
    result[harmonic] = a[harmonic] - b[harmonic];
  }
  return result;
}

}  // namespace virtual_instrument

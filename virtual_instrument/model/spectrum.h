#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "virtual_instrument/model/phasor.h"

// Periodic quantities as harmonics and as waveforms.

namespace virtual_instrument {

/// Number of harmonics in a solution. Leakage makes higher ones negligible.
inline constexpr int kHighestHarmonic = 15;

/// A periodic quantity: its mean, and the peak phasor of each harmonic.
using Spectrum = std::array<Complex, kHighestHarmonic + 1>;

/// Steps of the finest waveform, per period.
inline constexpr int kFinestSteps = 1024;

/// The phasor of magnitude 1 at `step` of a period in `count` steps, under the rule below.
Complex unit_phasor(std::size_t step, std::size_t count);

/// Adds the waveform of one period, from the phase 0 of a cosine, to as many equal steps as
/// `values` has. REQUIRES: a power of two up to kFinestSteps.
void add_waveform(std::span<double> values, const Spectrum& spectrum);

/// The waveform over one period in `count` steps, under the same rules.
std::vector<double> waveform(const Spectrum& spectrum, int count);

/// One harmonic of a waveform under the same rules: a peak phasor, or the mean for harmonic 0.
Complex harmonic_of(std::span<const double> values, std::size_t harmonic);

/// The harmonics of a waveform from the mean on.
template <std::size_t count>
std::array<Complex, count> harmonics_of(std::span<const double> values) {
  std::array<Complex, count> result;
  for (std::size_t harmonic = 0; harmonic < count; ++harmonic) {
    result[harmonic] = harmonic_of(values, harmonic);
  }
  return result;
}

Spectrum difference(const Spectrum& a, const Spectrum& b);

}  // namespace virtual_instrument

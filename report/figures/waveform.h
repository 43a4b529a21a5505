#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

// Samples of a waveform: its harmonics, over the whole periods that the samples hold.

namespace report {

struct Harmonics {
  double frequency;             ///< Hz, of the fundamental
  std::vector<double> percent;  ///< r.m.s. of each in percent of the fundamental, from the first on
  double fundamental;           ///< r.m.s.
  double rms;
  double distortion_percent;  ///< all harmonics above the first, in percent of the fundamental
};

/// Nothing for samples without a whole period, or whose period is not a whole number of them.
std::optional<Harmonics> harmonics_of(std::span<const double> samples, double sample_rate,
                                      std::size_t highest = 15);

}  // namespace report

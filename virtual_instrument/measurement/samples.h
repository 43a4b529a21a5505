#pragma once

#include <vector>

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/noise.h"
#include "virtual_instrument/model/phasor.h"
#include "virtual_instrument/model/side.h"

// The samples of the instrument's converters, and functions on them. All results are computed from
// these samples, never from the circuit.

namespace virtual_instrument {

/// The voltages and currents at the terminals during one period of steady state, in equal steps,
/// the first one step after the source's rise through zero. The side that is not excited is open
/// and carries no current.
struct Waveforms {
  BySide<std::vector<double>> voltage;  ///< V
  BySide<std::vector<double>> current;  ///< A
};

/// One channel, sampled over whole periods.
using Samples = std::vector<double>;

struct SampledTest {
  double sample_rate;      ///< samples per second
  int samples_per_period;  ///< a divisor of each channel's size
  Side excited;
  BySide<Samples> voltage;  ///< V
  BySide<Samples> current;  ///< A
};

/// Samples the terminals of a transformer excited at a frequency in Hz, with the noise of the bench
/// on each sample. REQUIRES: the steps of a period are a multiple of the samples of one.
SampledTest sample(const Waveforms& waveforms, Side excited, double frequency,
                   const MeasurementSettings& settings, Noise& noise);

double rms(const Samples& samples);

/// The largest absolute value.
double peak(const Samples& samples);

/// The fundamental as an r.m.s. phasor. Angles count from the source's rise through zero.
Complex fundamental(const Samples& samples, int samples_per_period);

/// In Hz, from where `samples` pass through zero; 0 if that is less than twice.
double measured_frequency(const Samples& samples, double sample_rate);

}  // namespace virtual_instrument

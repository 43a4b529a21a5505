#pragma once

#include <complex>
#include <vector>

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/noise.h"
#include "virtual_instrument/model/transformer.h"

// What the instrument's converters deliver, and what is computed from it. All results are made from
// these samples; nothing is taken from the circuit behind them.

namespace virtual_instrument {

/// One channel, sampled over whole periods.
using Samples = std::vector<double>;

struct SampledTest {
  double sample_rate;      ///< samples per second
  int samples_per_period;  ///< a divisor of each channel's size
  Side excited;
  Samples voltage_high;  ///< V
  Samples voltage_low;   ///< V
  Samples current_high;  ///< A
  Samples current_low;   ///< A
};

/// Samples the terminals of an excited transformer, with the noise of the bench on each sample.
SampledTest sample(const Waveforms& waveforms, const Excitation& excitation,
                   const MeasurementSettings& settings, Noise& noise);

double rms(const Samples& samples);

/// The fundamental as an r.m.s. phasor. Angles count from the source's rise through zero.
std::complex<double> fundamental(const Samples& samples, int samples_per_period);

/// In Hz, from where `samples` pass through zero; 0 if that is less than twice.
double measured_frequency(const Samples& samples, double sample_rate);

}  // namespace virtual_instrument

#pragma once

#include <cmath>
#include <numbers>

#include "virtual_instrument/measurement/samples.h"

// Samples of sines with exact figures.

namespace virtual_instrument {

inline constexpr int kSamplesPerPeriod = 16;

/// Two periods of a sine, `lead` rad before the source.
inline Samples sine(double rms, double lead = 0) {
  Samples samples;
  for (int step = 1; step <= 2 * kSamplesPerPeriod; ++step) {
    samples.push_back(rms * std::numbers::sqrt2 *
                      std::sin(2 * std::numbers::pi * step / kSamplesPerPeriod + lead));
  }
  return samples;
}

/// Both voltages and the current of the excited side at 50 Hz, r.m.s.; the other side carries none.
inline SampledTest sine_test(Side excited, const BySide<Samples>& voltage, const Samples& current) {
  SampledTest test{};
  test.sample_rate = 50 * kSamplesPerPeriod;
  test.samples_per_period = kSamplesPerPeriod;
  test.excited = excited;
  test.voltage = voltage;
  test.current[excited] = current;
  test.current[other_side(excited)] = Samples(current.size());
  return test;
}

}  // namespace virtual_instrument

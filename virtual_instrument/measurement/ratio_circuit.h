#pragma once

#include <array>
#include <vector>

#include "api/request_records.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/noise.h"
#include "virtual_instrument/measurement/samples.h"
#include "virtual_instrument/model/transformer_unit.h"

// The circuit of a three-phase ratio test in one direction: the unit on the instrument's leads, and
// the converters that sample it.

namespace virtual_instrument {

struct TestCircuit {
  TestCircuit(const TransformerUnit& tested, const kvr_Ratio3phRequest& request,
              const Bench& settings, Noise& of_samples);

  /// The steady state of `circuit`: `network`, or that with more branches. Terminals with open
  /// leads show zero. Updates `peak_flux`.
  PeriodicState solve(const Network& circuit, const std::vector<VoltageSource>& sources);

  SampledTest sampled(const Waveforms& waveforms);

  Complex phasor(const Samples& samples) const;

  const TransformerUnit& unit;
  const Bench& bench;
  Noise& noise;
  const Side excited;
  const float test_voltage;  ///< V r.m.s.
  const double frequency;    ///< Hz
  const Network network;
  std::array<double, 3> peak_flux{};  ///< Vs, the greatest so far in each limb
};

}  // namespace virtual_instrument

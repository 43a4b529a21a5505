#pragma once

#include <vector>

#include "virtual_instrument/model/magnetizing_branch.h"

// A single winding on a core, solved by integration in time. The model solves by harmonic balance;
// tests compare the two.

namespace virtual_instrument {

/// Steps of a period.
inline constexpr int kStepsPerPeriod = 3 * 512;

/// A winding on a sinusoidal source: source - resistance - leakage inductance - core.
struct ExcitedWinding {
  double resistance;          ///< ohm, above 0: without losses a flux offset would never decay
  double leakage_inductance;  ///< H
  MagnetizingBranch core;
};

struct SineSource {
  double peak;               ///< V
  double angular_frequency;  ///< rad/s
};

/// One period of steady state, kStepsPerPeriod values each, the first one step after the source's
/// rise through zero.
struct SteadyState {
  std::vector<double> source_voltage;   ///< V
  std::vector<double> current;          ///< A
  std::vector<double> induced_voltage;  ///< V, over the core
};

/// Solves the circuit in the time domain for the state that returns to itself after one period.
/// Throws std::runtime_error if none is found.
SteadyState solve_steady_state(const ExcitedWinding& winding, const SineSource& source);

}  // namespace virtual_instrument

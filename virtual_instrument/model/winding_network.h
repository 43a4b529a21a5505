#pragma once

#include <array>
#include <vector>

#include "virtual_instrument/model/network.h"
#include "virtual_instrument/model/spectrum.h"

// The periodic steady state of windings on a core.

namespace virtual_instrument {

/// Spectra by node, by branch, by source and by limb.
struct PeriodicState {
  double frequency;                      ///< Hz
  std::vector<Spectrum> node_voltage;    ///< V, against the common point
  std::vector<Spectrum> branch_current;  ///< A
  std::vector<Spectrum> source_current;  ///< A, out of the source
  std::array<Spectrum, 3> flux;          ///< Vs
  std::array<double, 3> peak_flux;       ///< Vs, without the mean
};

/// Finds the steady state: the voltage in each winding follows from the flux of the limbs, its
/// current from the circuit, and the currents must give the limbs the force that their flux needs.
/// Currents have no mean, since no source and no winding drives one. Throws std::runtime_error if
/// no state is found.
PeriodicState solve_network(const Network& network, const std::vector<VoltageSource>& sources,
                            double frequency);

}  // namespace virtual_instrument

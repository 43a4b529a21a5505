#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "virtual_instrument/model/linear_equations.h"
#include "virtual_instrument/model/network.h"

// The electric circuit of a network at one harmonic.

namespace virtual_instrument {

/// One harmonic of the flux of each limb.
using LimbFluxes = std::array<Complex, 3>;

/// Solved for the sources, which have the first harmonic only, and for a unit flux in each limb.
/// All else is linear in the flux. The network must outlive it.
class HarmonicCircuit {
 public:
  /// `omega` is the angular frequency of the harmonic, in rad/s.
  HarmonicCircuit(const Network& network, const std::vector<VoltageSource>& sources, int harmonic,
                  double omega);

  /// The force on a limb from the sources, and from a unit flux in limb `by`.
  Complex source_force(int limb) const;
  Complex reaction(int limb, int by) const;

  Complex node_voltage(int node, const LimbFluxes& flux) const;
  Complex branch_current(std::size_t branch, const LimbFluxes& flux) const;

 private:
  std::size_t size() const;
  SquareMatrix<Complex> matrix(double omega) const;
  void add_known_voltages(std::vector<Complex>& side, double omega) const;
  std::vector<Complex> flux_side(std::size_t limb, double omega) const;
  Complex force(const std::vector<Complex>& solution, int limb) const;
  Complex combined(std::size_t unknown, const LimbFluxes& flux) const;

  const Network& network_;
  std::vector<int> unknown_;  ///< index of a node's voltage among the unknowns
  std::size_t branch_start_ = 0;
  std::vector<Complex> known_;
  std::vector<Complex> source_;
  std::array<std::vector<Complex>, 3> reaction_;
};

}  // namespace virtual_instrument

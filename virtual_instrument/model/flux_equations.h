#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "virtual_instrument/model/free_fluxes.h"
#include "virtual_instrument/model/harmonic_circuit.h"

// The equations that the free fluxes of a network solve. The circuit and the core meet in two
// linear relations per harmonic,
//
//   force on limb k = source_force[k] + sum over l of reaction[k][l] * flux of limb l
//
// and in the curves and loops of the limbs, which are evaluated step by step over the period. The
// forces from one meeting point of the limbs to the other must be equal.

namespace virtual_instrument {

/// How far fluxes are from a solution.
struct FluxBalance {
  std::vector<double> residual;
  double size;   ///< largest residual
  double scale;  ///< largest force
};

/// Holds only the harmonics that can differ from zero. The network must outlive it.
class FluxEquations {
 public:
  FluxEquations(const Network& network, const std::vector<VoltageSource>& sources,
                double frequency);

  const FreeFluxes& free_fluxes() const { return free_; }
  const HarmonicCircuit& circuit(int harmonic) const;

  FluxBalance balance_at(const std::vector<double>& fluxes) const;

  /// The derivatives of the residuals.
  SquareMatrix<double> jacobian(const std::vector<double>& fluxes) const;

 private:
  /// The harmonics of the slope of a limb's curve, the mean first.
  using Slope = std::array<Complex, 2 * kHighestHarmonic + 1>;

  bool has_loop(int path) const;
  Complex circuit_force(int path, int harmonic, const PathFluxes& flux) const;
  Complex loss_admittance(int path, int harmonic) const;
  Complex linear_part(const FreeFlux& row, const FreeFlux& column) const;
  void add_curve(SquareMatrix<double>& cells, int path, const Slope& slope) const;
  void add_slip(SquareMatrix<double>& cells, int path, const SlipDependence& slip) const;

  const Core& core_;
  const std::vector<int> harmonics_;
  const FreeFluxes free_;
  std::vector<HarmonicCircuit> circuits_;
  StopElements elements_;
  std::array<StopState, 3> start_;  ///< of each limb's elements
  double loss_;                     ///< S times rad/s, of a limb of length 1 at the first harmonic
  double outside_loss_;             ///< the same of the path outside
};

/// The greatest absolute value.
double largest(const std::vector<double>& values);

}  // namespace virtual_instrument

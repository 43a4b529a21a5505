#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "virtual_instrument/model/core_network.h"
#include "virtual_instrument/model/spectrum.h"

// The free fluxes of a core: those that the others follow from. With three limbs they are the
// fluxes of the outer ones, whose sum the middle limb carries back, or those of all three, whose
// sum returns outside.

namespace virtual_instrument {

/// A harmonic of a free flux, as real numbers in a list of all: its real part is at `position`, the
/// imaginary part after it; a mean has none.
struct FreeFlux {
  int harmonic;
  int outer;  ///< index among the free fluxes of this harmonic
  std::size_t position;

  std::size_t parts() const { return harmonic == 0 ? 1 : 2; }
};

/// The fluxes of the limbs, and of the path outside.
using PathFluxes = std::array<Spectrum, 4>;

/// The core must outlive it.
class FreeFluxes {
 public:
  FreeFluxes(const Core& core, const std::vector<int>& harmonics);

  /// How many real numbers there are.
  std::size_t size() const { return size_; }
  auto begin() const { return fluxes_.begin(); }
  auto end() const { return fluxes_.end(); }

  /// The paths that take a force: the limbs, and kOutside if the path there does.
  const std::vector<int>& paths() const { return paths_; }

  /// Share of the free flux `outer` in the flux of a path.
  double share(int path, int outer) const;

  PathFluxes path_fluxes(const std::vector<double>& values) const;

 private:
  const Core& core_;
  std::vector<int> paths_;
  std::vector<FreeFlux> fluxes_;
  std::size_t size_ = 0;
};

}  // namespace virtual_instrument

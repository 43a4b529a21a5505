#include "virtual_instrument/model/free_fluxes.h"

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {

FreeFluxes::FreeFluxes(const Core& core, const std::vector<int>& harmonics) : core_(core) {
  const int outer_limbs = core.limbs == 3 ? 2 : 1;
  for (const int harmonic : harmonics) {
    for (int outer = 0; outer < outer_limbs; ++outer) {
      fluxes_.push_back({harmonic, outer, size_});
      size_ += fluxes_.back().parts();
    }
  }
}

double FreeFluxes::share(int limb, int outer) const {
  if (core_.limbs == 1) {
    return limb == 0 ? 1 : 0;
  }
  if (limb == 1) {
    return -1;
  }
  return limb == 2 * outer ? 1 : 0;
}

std::array<Spectrum, 3> FreeFluxes::limb_fluxes(const std::vector<double>& values) const {
  std::array<Spectrum, 3> limbs{};
  for (const FreeFlux& free : fluxes_) {
    const Complex flux(values[free.position], free.harmonic == 0 ? 0 : values[free.position + 1]);
    for (int limb = 0; limb < core_.limbs; ++limb) {
      limbs[index(limb)][index(free.harmonic)] += share(limb, free.outer) * flux;
    }
  }
  return limbs;
}

}  // namespace virtual_instrument

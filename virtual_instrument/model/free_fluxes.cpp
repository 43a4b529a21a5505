#include "virtual_instrument/model/free_fluxes.h"

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

bool takes_force(const OutsidePath& path) { return path.reluctance > 0 || path.iron_length > 0; }

}  // namespace

FreeFluxes::FreeFluxes(const Core& core, const std::vector<int>& harmonics) : core_(core) {
  const int free = core.limbs == 1 ? 1 : core.outside.exists ? 3 : 2;
  for (const int harmonic : harmonics) {
    for (int outer = 0; outer < free; ++outer) {
      fluxes_.push_back({harmonic, outer, size_});
      size_ += fluxes_.back().parts();
    }
  }
  for (int limb = 0; limb < core.limbs; ++limb) {
    paths_.push_back(limb);
  }
  if (core.limbs == 3 && core.outside.exists && takes_force(core.outside)) {
    paths_.push_back(kOutside);
  }
}

double FreeFluxes::share(int path, int outer) const {
  if (core_.outside.exists) {
    return path == outer || path == kOutside ? 1 : 0;
  }
  if (path == 1) {
    return -1;
  }
  return path == 2 * outer ? 1 : 0;
}

PathFluxes FreeFluxes::path_fluxes(const std::vector<double>& values) const {
  PathFluxes fluxes{};
  for (const FreeFlux& free : fluxes_) {
    const Complex flux(values[free.position], free.harmonic == 0 ? 0 : values[free.position + 1]);
    for (const int path : paths_) {
      fluxes[index(path)][index(free.harmonic)] += share(path, free.outer) * flux;
    }
  }
  return fluxes;
}

}  // namespace virtual_instrument

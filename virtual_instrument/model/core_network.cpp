#include "virtual_instrument/model/core_network.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

MagnetizingBranch limb_curve(const Core& core, int limb) {
  MagnetizingBranch curve = core.limb;
  curve.residual_flux = core.residual_flux[index(limb)];
  return curve;
}

double remanence_excess(const Core& core, int limb) {
  const double part = core.residual_flux[index(limb)] / core.limb.knee_flux;
  return core.remanence_excess * part * part;
}

/// 1 at no flux, 1/2 where flux and residual flux are equal.
double remanence_fading(const Core& core, int limb, double flux) {
  return 1 / (1 + std::abs(flux / core.residual_flux[index(limb)]));
}

}  // namespace

double path_length(const Core& core, int limb) {
  return core.limbs == 3 && limb != 1 ? 1 + core.yoke_ratio : 1;
}

double magnetizing_force(const Core& core, int limb, double flux) {
  double force = limb_curve(core, limb).current(flux);
  if (const double excess = remanence_excess(core, limb); excess > 0) {
    force += excess * remanence_fading(core, limb, flux) * flux / core.limb.inductance;
  }
  return path_length(core, limb) * force;
}

double magnetizing_slope(const Core& core, int limb, double flux) {
  double slope = limb_curve(core, limb).slope(flux);
  if (const double excess = remanence_excess(core, limb); excess > 0) {
    const double fading = remanence_fading(core, limb, flux);
    slope += excess * fading * fading / core.limb.inductance;
  }
  return path_length(core, limb) * slope;
}

double loss_conductance(const Core& core, double frequency) {
  const double hysteresis = core.hysteresis_share * core.reference_frequency / frequency;
  return core.limb.core_conductance * (hysteresis + 1 - core.hysteresis_share);
}

bool is_linear(const Core& core) {
  return core.limb.low_flux_excess == 0 && std::isinf(core.limb.knee_flux);
}

bool is_symmetrical(const Core& core) {
  return std::all_of(core.residual_flux.begin(), core.residual_flux.end(),
                     [](double flux) { return flux == 0; });
}

std::array<double, 3> residual_flux_after(const Core& core, const std::array<double, 3>& peaks) {
  std::array<double, 3> residual = core.residual_flux;
  for (std::size_t limb = 0; limb < 3; ++limb) {
    residual[limb] *= std::max(0.0, 1 - peaks[limb] / core.limb.knee_flux);
  }
  return residual;
}

}  // namespace virtual_instrument

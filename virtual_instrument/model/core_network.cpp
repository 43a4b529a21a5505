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

/// The curve of a limb of length 1 without residual flux.
MagnetizingBranch iron(const Core& core) {
  MagnetizingBranch curve = core.limb;
  curve.residual_flux = 0;
  return curve;
}

/// Above any flux that iron keeps without a current.
double highest_flux(const Core& core) { return 10 * core.limb.knee_flux + core.loop.reach; }

/// Where `beyond` turns true between two ends.
template <typename Beyond>
double bisected(double low, double high, Beyond beyond) {
  for (int round = 0; round < 60; ++round) {
    const double middle = (low + high) / 2;
    (beyond(middle) ? high : low) = middle;
  }
  return (low + high) / 2;
}

}  // namespace

double path_length(const Core& core, int limb) {
  return core.limbs == 3 && limb != 1 ? 1 + core.yoke_ratio : 1;
}

double magnetizing_force(const Core& core, int path, double flux) {
  if (path == kOutside) {
    const OutsidePath& outside = core.outside;
    return outside.reluctance * flux +
           outside.iron_length * core.limb.current(flux / outside.iron_section);
  }
  double force = limb_curve(core, path).current(flux);
  if (const double excess = remanence_excess(core, path); excess > 0) {
    force += excess * remanence_fading(core, path, flux) * flux / core.limb.inductance;
  }
  return path_length(core, path) * force;
}

double magnetizing_slope(const Core& core, int path, double flux) {
  if (path == kOutside) {
    const OutsidePath& outside = core.outside;
    return outside.reluctance + outside.iron_length / outside.iron_section *
                                    core.limb.slope(flux / outside.iron_section);
  }
  double slope = limb_curve(core, path).slope(flux);
  if (const double excess = remanence_excess(core, path); excess > 0) {
    const double fading = remanence_fading(core, path, flux);
    slope += excess * fading * fading / core.limb.inductance;
  }
  return path_length(core, path) * slope;
}

double loss_conductance(const Core& core, double frequency) {
  const double hysteresis =
      (core.hysteresis_share - core.loop_share) * core.reference_frequency / frequency;
  return core.limb.core_conductance * (hysteresis + 1 - core.hysteresis_share);
}

double outside_conductance(const Core& core, double frequency) {
  const double hysteresis = core.hysteresis_share * core.reference_frequency / frequency;
  return core.limb.core_conductance * (hysteresis + 1 - core.hysteresis_share) *
         core.outside.iron_length / core.outside.iron_section;
}

void refer_core(Core& core, double turns) {
  const double square = turns * turns;
  MagnetizingBranch& limb = core.limb;
  limb.core_conductance /= square;
  limb.inductance *= square;
  limb.saturated_inductance *= square;
  for (double* flux : {&limb.low_flux, &limb.knee_flux, &limb.knee_width, &limb.residual_flux,
                       &limb.bend_flux, &limb.bend_end, &core.loop.reach}) {
    *flux *= turns;
  }
  for (double& flux : core.residual_flux) {
    flux *= turns;
  }
  limb.bend_current /= turns;
  core.loop.strength /= turns;
  core.outside.reluctance /= square;
}

bool is_linear(const Core& core) {
  return core.limb.low_flux_excess == 0 && std::isinf(core.limb.knee_flux);
}

bool is_symmetrical(const Core& core) {
  return std::all_of(core.residual_flux.begin(), core.residual_flux.end(),
                     [](double flux) { return flux == 0; });
}

bool has_loop(const Core& core) { return core.loop.strength > 0; }

StopState residual_state(const Core& core, int limb) {
  const double flux = core.residual_flux[index(limb)];
  if (flux == 0 || !has_loop(core)) {
    return {};
  }
  const StopElements elements = stop_elements(core.loop);
  const double needed = iron(core).current(std::abs(flux));
  const double amplitude = bisected(
      0, core.loop.reach, [&](double tried) { return held_force(elements, tried) < needed; });
  return held_state(elements, amplitude, flux > 0 ? 1 : -1);
}

double remanence(const Core& core, double amplitude) {
  const double held = held_force(stop_elements(core.loop), amplitude);
  const MagnetizingBranch curve = iron(core);
  return held == 0 ? 0 : bisected(0, highest_flux(core), [&](double tried) {
    return curve.current(tried) > held;
  });
}

double flux_without_force(const Core& core, const StopState& state, double flux) {
  const StopElements elements = stop_elements(core.loop);
  const MagnetizingBranch curve = iron(core);
  return bisected(-highest_flux(core), highest_flux(core), [&](double tried) {
    StopState moved = state;
    move(elements, moved, tried - flux);
    return curve.current(tried) + total_force(moved) > 0;
  });
}

std::array<double, 3> residual_flux_after(const Core& core, const std::array<double, 3>& peaks) {
  std::array<double, 3> residual = core.residual_flux;
  for (std::size_t limb = 0; limb < 3; ++limb) {
    if (has_loop(core) && residual[limb] != 0) {
      const double most = remanence(core, peaks[limb]);
      residual[limb] = std::clamp(residual[limb], -most, most);
    } else {
      residual[limb] *= std::max(0.0, 1 - peaks[limb] / core.limb.knee_flux);
    }
  }
  return residual;
}

}  // namespace virtual_instrument

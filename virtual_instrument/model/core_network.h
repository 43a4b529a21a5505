#pragma once

#include <array>

#include "virtual_instrument/model/magnetizing_branch.h"

// The core as a network of reluctances: one limb, or three limbs joined at both ends by yokes. The
// middle limb, B, joins the yokes between the others, so only the flux of an outer limb passes
// through yokes. No flux leaves the core: the fluxes of three limbs add up to zero.

namespace virtual_instrument {

/// Limbs and yokes. Flux is the flux linkage of a whole limb winding of the high side, in volt
/// seconds; magnetomotive force is in amperes through that winding.
struct Core {
  int limbs;               ///< 1 or 3
  MagnetizingBranch limb;  ///< one limb; its residual flux is not used
  double yoke_ratio;  ///< reluctance of the yokes beside an outer limb, as a multiple of a limb's
  std::array<double, 3> residual_flux;  ///< Vs, by limb
  /// Extra magnetising current at low flux, as a fraction, for a limb with residual flux at the
  /// knee; half of it remains where flux and residual flux are equal.
  double remanence_excess;
  double
      hysteresis_share;  ///< of the core losses at `reference_frequency`; the rest is eddy currents
  double reference_frequency;  ///< Hz
};

/// Length of a limb's flux path between the points where the limbs meet, as a multiple of a limb.
double path_length(const Core& core, int limb);

/// Magnetomotive force from one meeting point through a limb to the other, without losses.
double magnetizing_force(const Core& core, int limb, double flux);

/// Its derivative by the flux.
double magnetizing_slope(const Core& core, int limb, double flux);

/// Conductance in S that represents the losses of a limb of length 1.
double loss_conductance(const Core& core, double frequency);

/// Whether magnetomotive force and flux are proportional.
bool is_linear(const Core& core);

/// Whether opposite fluxes need opposite forces; false with residual flux.
bool is_symmetrical(const Core& core);

/// The residual flux after an excitation with these peak fluxes has faded out: the alternating flux
/// reduces it, and removes it if it reaches the knee.
std::array<double, 3> residual_flux_after(const Core& core, const std::array<double, 3>& peaks);

}  // namespace virtual_instrument

#pragma once

#include <array>

#include "virtual_instrument/model/hysteresis_loop.h"
#include "virtual_instrument/model/magnetizing_branch.h"

// The core as a network of reluctances: one limb, or three limbs joined at both ends by yokes. The
// middle limb, B, joins the yokes between the others, so only the flux of an outer limb passes
// through yokes. Flux that does not return through the limbs passes from one meeting point to the
// other outside them: through oil and tank, through outer limbs of a five-limb or shell-type core,
// or, in three single-phase units, in a core of its own for each. Without such a path the fluxes of
// three limbs add up to zero.

namespace virtual_instrument {

/// The path outside three limbs.
struct OutsidePath {
  bool exists = false;
  double reluctance = 0;    ///< A per Vs, of oil and tank
  double iron_length = 0;   ///< of outer limbs, as a multiple of a limb's; 0 without any
  double iron_section = 1;  ///< of all outer limbs together, as a multiple of a limb's
};

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
  OutsidePath outside{};
  HysteresisLoop loop{};  ///< of a limb of length 1
  double loop_share = 0;  ///< of the core losses, in the area of the loop instead of a conductance
};

/// Number of the path outside three limbs; 0 to 2 are the limbs.
inline constexpr int kOutside = 3;

/// Length of a limb's flux path between the points where the limbs meet, as a multiple of a limb.
double path_length(const Core& core, int limb);

/// Magnetomotive force from one meeting point through a limb, or outside, to the other, without
/// losses and without hysteresis.
double magnetizing_force(const Core& core, int path, double flux);

/// Its derivative by the flux.
double magnetizing_slope(const Core& core, int path, double flux);

/// Conductance in S that represents the losses of a limb of length 1, those of the loop excepted.
double loss_conductance(const Core& core, double frequency);

/// The same of the outer limbs, which have no loop, for their whole length and section.
double outside_conductance(const Core& core, double frequency);

/// Refers a core to a winding that has `turns` times the turns of the one it refers to now.
void refer_core(Core& core, double turns);

/// Whether magnetomotive force and flux are proportional.
bool is_linear(const Core& core);

/// Whether opposite fluxes need opposite forces; false with residual flux.
bool is_symmetrical(const Core& core);

bool has_loop(const Core& core);

/// The state in which the elements of the loop leave the limb its residual flux: that of iron in
/// which an alternating flux has faded out after saturation. Iron that its loop alone could not
/// hold there is in the state after saturation.
StopState residual_state(const Core& core, int limb);

/// The flux that a limb of length 1 keeps where an alternating flux of this amplitude has faded out
/// after saturation. REQUIRES: has_loop(core).
double remanence(const Core& core, double amplitude);

/// The flux that is left without force when the elements of the loop are in `state` at `flux`.
double flux_without_force(const Core& core, const StopState& state, double flux);

/// The residual flux after an excitation with these peak fluxes has faded out: the alternating flux
/// reduces it to what the loop holds then. Without a loop, it removes the fraction peak over knee.
std::array<double, 3> residual_flux_after(const Core& core, const std::array<double, 3>& peaks);

}  // namespace virtual_instrument

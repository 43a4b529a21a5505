#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

// The hysteresis of a limb: the part of its magnetomotive force that depends on the way the flux
// has come. It is the sum of stop elements, springs with dry friction: each follows the flux until
// its force reaches a limit, then slips. Such a sum obeys Madelung's and Masing's rules: a branch
// begins at each reversal with the slope of the first one, at twice its scale; a minor loop closes,
// and is forgotten when it has closed; an alternating flux that fades out demagnetises.
//
// Sources: L. Prandtl, ZAMM 8 (1928) 85, for the elements; E. Madelung, Annalen der Physik 322
// (1905) 861, for the rules; S. Bobbio, G. Miano, C. Serpico, C. Visone, IEEE Transactions on
// Magnetics 33 (1997) 4417, for such sums as models of magnetic materials, with force as a function
// of flux.

namespace virtual_instrument {

struct HysteresisLoop {
  double strength = 0;  ///< A: half the width of the widest loop, at zero flux; 0 for no hysteresis
  double reach = 0;     ///< Vs: amplitude of the flux from which on all elements slip
};

struct StopElement {
  double force;  ///< A, at which it slips
  double reach;  ///< Vs: change of flux that raises its force from zero to that
};

inline constexpr std::size_t kStopElements = 24;

/// Forces spread evenly over reaches, in bands that shrink towards zero. Up to the loop's reach the
/// area of a loop then grows with the square of its amplitude, beyond it in proportion to it.
using StopElements = std::array<StopElement, kStopElements>;

StopElements stop_elements(const HysteresisLoop& loop);

/// What each element holds, from minus its force to its force; all zero in virgin iron.
using StopState = std::array<double, kStopElements>;

/// The state after the flux has changed without reversal.
void move(const StopElements& elements, StopState& state, double change);

double total_force(const StopState& state);

/// Area of the loop of an alternating flux, in joules per period.
double loop_area(const StopElements& elements, double amplitude);

/// The force that memory alone holds where an alternating flux of this amplitude has faded out,
/// after saturation in the negative direction; greatest for an amplitude of zero.
double held_force(const StopElements& elements, double amplitude);

/// The state in which they do: the sum of its forces is minus `direction` times held_force().
StopState held_state(const StopElements& elements, double amplitude, double direction);

/// A part of the force at all steps that depends on the flux at one step, where elements last
/// slipped.
struct SlipDependence {
  std::size_t step;
  std::vector<double> slope;  ///< A per Vs, by step of the force
};

/// The derivatives of the force of a period: by the flux of the same step, and by that of others.
struct LoopDerivatives {
  std::vector<double> slope;
  std::vector<SlipDependence> slips;
};

/// Adds the force of the loop to `force`, in the periodic state that a flux reaches which begins at
/// zero in the state `start`, less the force of that state. Elements forget what lies inside the
/// greatest swing, so the state after one passage of both extremes repeats.
void add_loop(const StopElements& elements, const StopState& start, std::span<const double> flux,
              std::span<double> force);

LoopDerivatives loop_derivatives(const StopElements& elements, const StopState& start,
                                 std::span<const double> flux);

}  // namespace virtual_instrument

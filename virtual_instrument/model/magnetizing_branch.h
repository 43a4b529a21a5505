#pragma once

namespace virtual_instrument {

/// The core of a transformer as one winding sees it: a core-loss conductance parallel to a
/// saturating inductance with residual flux. Flux is the flux linkage of that winding in volt
/// seconds, counted from the residual flux.
///
/// The magnetizing current is linear with `inductance` except for these terms. Near zero flux,
/// where iron is less permeable, it is larger by the fraction `low_flux_excess`; half of that
/// remains at `low_flux`. The flux in the core, residual flux included, makes it grow in two ways:
/// with a high power of the flux up to `bend_end` and in a straight line from there, which rounds
/// the knee, and beyond the knee with `saturated_inductance` in all; the bend there is a parabola
/// of half width `knee_width`.
struct MagnetizingBranch {
  double core_conductance;      ///< S
  double inductance;            ///< H
  double low_flux_excess;       ///< fraction
  double low_flux;              ///< Vs
  double knee_flux;             ///< Vs; infinite without saturation
  double knee_width;            ///< Vs
  double saturated_inductance;  ///< H
  double residual_flux;         ///< Vs
  double linear_share = 1;      ///< of the linear current that is not drawn by bend and hysteresis
  double bend_flux = 0;         ///< Vs, where the rounded knee draws `bend_current`; 0 for none
  double bend_current = 0;      ///< A
  double bend_end = 0;          ///< Vs

  /// Magnetizing current in A; it never decreases with rising flux.
  double current(double flux) const;

  /// Its derivative, in A per Vs.
  double slope(double flux) const;
};

}  // namespace virtual_instrument

#include "virtual_instrument/model/magnetizing_branch.h"

#include <cmath>

namespace virtual_instrument {
namespace {

/// 0 up to -width, `excess` from width on, and a parabola in between.
double hinge(double excess, double width) {
  if (excess <= -width) {
    return 0.0;
  }
  if (excess >= width) {
    return excess;
  }
  return (excess + width) * (excess + width) / (4 * width);
}

double hinge_slope(double excess, double width) {
  if (excess <= -width) {
    return 0.0;
  }
  if (excess >= width) {
    return 1.0;
  }
  return (excess + width) / (2 * width);
}

/// Rise of the hinge from `excess` to `excess + change`. With both ends on the same piece, nothing
/// cancels, however far they are from the bend.
double hinge_rise(double excess, double change, double width) {
  const double end = excess + change;
  if (excess >= width && end >= width) {
    return change;
  }
  if (std::abs(excess) < width && std::abs(end) < width) {
    return change * (2 * (excess + width) + change) / (4 * width);
  }
  return hinge(end, width) - hinge(excess, width);
}

/// The current that saturation adds between the residual flux and `flux` beyond it, divided by the
/// slope that saturation adds.
double saturation(const MagnetizingBranch& branch, double flux) {
  return hinge_rise(branch.residual_flux - branch.knee_flux, flux, branch.knee_width) -
         hinge_rise(-branch.residual_flux - branch.knee_flux, -flux, branch.knee_width);
}

double saturation_slope(const MagnetizingBranch& branch, double core_flux) {
  return hinge_slope(core_flux - branch.knee_flux, branch.knee_width) +
         hinge_slope(-core_flux - branch.knee_flux, branch.knee_width);
}

double added_by_saturation(const MagnetizingBranch& branch) {
  return 1 / branch.saturated_inductance - 1 / branch.inductance;
}

}  // namespace

double MagnetizingBranch::current(double flux) const {
  const double excess = low_flux_excess / (1 + std::abs(flux) / low_flux);
  return flux * (1 + excess) / inductance + added_by_saturation(*this) * saturation(*this, flux);
}

double MagnetizingBranch::slope(double flux) const {
  const double fading = 1 + std::abs(flux) / low_flux;
  return (1 + low_flux_excess / (fading * fading)) / inductance +
         added_by_saturation(*this) * saturation_slope(*this, flux + residual_flux);
}

}  // namespace virtual_instrument

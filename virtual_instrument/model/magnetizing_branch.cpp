#include "virtual_instrument/model/magnetizing_branch.h"

#include <algorithm>
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

double eleventh_power(double x) {
  const double second = x * x;
  const double fourth = second * second;
  return fourth * fourth * second * x;
}

double tenth_power(double x) {
  const double second = x * x;
  const double fourth = second * second;
  return fourth * fourth * second;
}

double bend_slope(const MagnetizingBranch& branch, double core_flux) {
  if (branch.bend_flux == 0) {
    return 0;
  }
  const double within = std::min(std::abs(core_flux), branch.bend_end);
  return 11 * branch.bend_current / branch.bend_flux * tenth_power(within / branch.bend_flux);
}

/// The current of the rounded knee.
double bend(const MagnetizingBranch& branch, double core_flux) {
  if (branch.bend_flux == 0) {
    return 0;
  }
  const double size = std::abs(core_flux);
  const double within = std::min(size, branch.bend_end);
  const double current = branch.bend_current * eleventh_power(within / branch.bend_flux) +
                         (size > within ? (size - within) * bend_slope(branch, within) : 0);
  return core_flux < 0 ? -current : current;
}

double added_by_saturation(const MagnetizingBranch& branch) {
  return 1 / branch.saturated_inductance - branch.linear_share / branch.inductance -
         bend_slope(branch, branch.bend_end);
}

}  // namespace

double MagnetizingBranch::current(double flux) const {
  const double excess = low_flux_excess / (1 + std::abs(flux) / low_flux);
  return flux * (linear_share + excess) / inductance +
         (bend(*this, flux + residual_flux) - bend(*this, residual_flux)) +
         added_by_saturation(*this) * saturation(*this, flux);
}

double MagnetizingBranch::slope(double flux) const {
  const double fading = 1 + std::abs(flux) / low_flux;
  return (linear_share + low_flux_excess / (fading * fading)) / inductance +
         bend_slope(*this, flux + residual_flux) +
         added_by_saturation(*this) * saturation_slope(*this, flux + residual_flux);
}

}  // namespace virtual_instrument

#include "report/figures/losses.h"

#include <cmath>

namespace report {

std::optional<CoreLosses> separate_core_losses(std::span<const CoreLossReading> readings,
                                               double exponent) {
  // Normal equations of  loss / f = hysteresis flux^exponent + eddy f flux^2.
  double aa = 0;
  double ab = 0;
  double bb = 0;
  double ay = 0;
  double by = 0;
  for (const CoreLossReading& reading : readings) {
    const double a = std::pow(reading.flux, exponent);
    const double b = reading.frequency * reading.flux * reading.flux;
    const double y = reading.loss / reading.frequency;
    aa += a * a;
    ab += a * b;
    bb += b * b;
    ay += a * y;
    by += b * y;
  }
  const double determinant = aa * bb - ab * ab;
  if (!(determinant > 1e-12 * aa * bb)) {
    return std::nullopt;
  }
  return CoreLosses{(ay * bb - by * ab) / determinant, (by * aa - ay * ab) / determinant};
}

}  // namespace report

#include "virtual_instrument/model/phasor.h"

#include <cmath>
#include <numbers>

namespace virtual_instrument {
namespace {

using std::numbers::pi;

/// The cosine series, or the sine series over its argument, summed from the last term. `square` is
/// that of the argument.
double alternating_series(double square, int first, int last) {
  double sum = 1;
  for (int n = last; n >= first; n -= 2) {
    sum = 1 - square / (n * (n - 1)) * sum;
  }
  return sum;
}

/// Sine and cosine of at most an eighth of a turn.
Complex first_octant(double radians) {
  const double square = radians * radians;
  return {alternating_series(square, 2, 18), radians * alternating_series(square, 3, 19)};
}

/// Arc tangent of `x` between 0 and 1.
double arc_tangent(double x) {
  // Halving the angle twice brings x below 0.2.
  const double half = x / (1 + std::sqrt(1 + x * x));
  const double quarter = half / (1 + std::sqrt(1 + half * half));
  const double square = quarter * quarter;
  double sum = 0;
  for (int n = 25; n >= 1; n -= 2) {
    sum = 1.0 / n - square * sum;
  }
  return 4 * quarter * sum;
}

}  // namespace

Complex phasor_at(double turns) {
  const double whole = std::floor(turns + 0.5);
  const double rest = turns - whole;                   // -1/2 to 1/2
  const double quarters = std::floor(rest * 4 + 0.5);  // -2 to 2
  const Complex near = first_octant((rest - quarters / 4) * 2 * pi);
  switch (static_cast<int>(quarters)) {
    case 1:
      return {-near.imag(), near.real()};
    case -1:
      return {near.imag(), -near.real()};
    case 0:
      return near;
    default:
      return -near;
  }
}

double angle(Complex phasor) {
  const double x = std::abs(phasor.real());
  const double y = std::abs(phasor.imag());
  if (x == 0 && y == 0) {
    return 0;
  }
  double first_quadrant = y <= x ? arc_tangent(y / x) : pi / 2 - arc_tangent(x / y);
  if (phasor.real() < 0) {
    first_quadrant = pi - first_quadrant;
  }
  return phasor.imag() < 0 ? -first_quadrant : first_quadrant;
}

double magnitude(Complex phasor) { return std::sqrt(std::norm(phasor)); }

Complex quotient(Complex a, Complex b) { return a * std::conj(b) / std::norm(b); }

double fold_angle(double radians) {
  const double turns = std::ceil(radians / (2 * pi) - 0.5);
  return radians - turns * 2 * pi;
}

double radians(double degrees) { return degrees * pi / 180; }

double degrees(double radians) { return radians * 180 / pi; }

double exponential(double x) {
  const double twos = std::floor(x / std::numbers::ln2 + 0.5);
  const double rest = x - twos * std::numbers::ln2;
  double sum = 1;
  for (int n = 18; n >= 1; --n) {
    sum = 1 + rest / n * sum;
  }
  return std::ldexp(sum, static_cast<int>(twos));
}

}  // namespace virtual_instrument

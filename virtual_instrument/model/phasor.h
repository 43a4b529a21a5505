#pragma once

#include <complex>

// Phasors, and the few functions of angles that the model needs. They use only sums, products,
// quotients and square roots, which every platform rounds alike: the sine of the C library differs
// between platforms, but a bench has to measure the same to the last bit.

namespace virtual_instrument {

using Complex = std::complex<double>;

/// The phasor of magnitude 1 at an angle, given as a fraction of a full turn.
Complex phasor_at(double turns);

/// Angle of a phasor in radians, above -pi and up to pi; 0 for the phasor 0.
double angle(Complex phasor);

double magnitude(Complex phasor);

/// a / b. `b` is not 0.
Complex quotient(Complex a, Complex b);

/// The same angle above -pi and up to pi, which angle() gives too.
double fold_angle(double radians);

double radians(double degrees);
double degrees(double radians);

/// e to the power of `x`, for |x| up to 700.
double exponential(double x);

}  // namespace virtual_instrument

#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

// Fits of curves to readings by least squares: any model by Levenberg and Marquardt's method, and
// the cooling curve of a heat run, which is extrapolated to the moment of shut-down.

namespace report {

/// The value of a model at `x` for its parameters.
using Model = std::function<double(double x, std::span<const double> parameters)>;

struct Fit {
  std::vector<double> parameters;
  std::vector<double> standard_errors;
  std::vector<double> covariances;  ///< of the parameters, row by row
  std::vector<double> residuals;    ///< reading less model
  double residual_deviation;        ///< sqrt(sum of squares / (n - number of parameters)); this
                                    ///< and what follows from it are NaN where n is that number
};

/// Nothing with fewer readings than parameters, or where no fit is found.
std::optional<Fit> fit_curve(const Model& model, std::span<const double> xs,
                             std::span<const double> ys, std::vector<double> start);

/// y = a + b x.
std::optional<Fit> fit_line(std::span<const double> xs, std::span<const double> ys);

/// y = final + rise exp(-t / time_constant).
struct CoolingFit {
  double final;
  double rise;
  double time_constant;
  double at_shut_down;    ///< final + rise, the value at t = 0
  double standard_error;  ///< of at_shut_down
  Fit fit;                ///< parameters in the order above

  double at(double time) const;
};

/// Nothing for fewer than three readings, or where they don't show a curve: then the extrapolation
/// would have no meaning.
std::optional<CoolingFit> fit_cooling(std::span<const double> times, std::span<const double> ys);

}  // namespace report

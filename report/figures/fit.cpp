#include "report/figures/fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace report {
namespace {

/// A square system of linear equations, row by row.
struct Equations {
  std::vector<double> matrix;
  std::vector<double> right;
};

/// Solves by elimination with the largest pivot; nothing for a singular system.
std::optional<std::vector<double>> solve(Equations system) {
  const std::size_t n = system.right.size();
  const auto at = [&](std::size_t row, std::size_t column) -> double& {
    return system.matrix[row * n + column];
  };
  for (std::size_t column = 0; column < n; ++column) {
    std::size_t pivot = column;
    for (std::size_t row = column + 1; row < n; ++row) {
      if (std::abs(at(row, column)) > std::abs(at(pivot, column))) {
        pivot = row;
      }
    }
    if (at(pivot, column) == 0 || !std::isfinite(at(pivot, column))) {
      return std::nullopt;
    }
    for (std::size_t k = 0; k < n; ++k) {
      std::swap(at(pivot, k), at(column, k));
    }
    std::swap(system.right[pivot], system.right[column]);
    for (std::size_t row = column + 1; row < n; ++row) {
      const double factor = at(row, column) / at(column, column);
      for (std::size_t k = column; k < n; ++k) {
        at(row, k) -= factor * at(column, k);
      }
      system.right[row] -= factor * system.right[column];
    }
  }
  for (std::size_t row = n; row-- > 0;) {
    for (std::size_t k = row + 1; k < n; ++k) {
      system.right[row] -= at(row, k) * system.right[k];
    }
    system.right[row] /= at(row, row);
  }
  return system.right;
}

std::optional<std::vector<double>> inverse(const std::vector<double>& matrix, std::size_t n) {
  std::vector<double> result(n * n);
  for (std::size_t column = 0; column < n; ++column) {
    Equations unit{matrix, std::vector<double>(n, 0.0)};
    unit.right[column] = 1;
    const auto solved = solve(unit);
    if (!solved) {
      return std::nullopt;
    }
    for (std::size_t row = 0; row < n; ++row) {
      result[row * n + column] = (*solved)[row];
    }
  }
  return result;
}

/// The readings, and a model with its derivatives by central differences.
class Problem {
 public:
  Problem(const Model& model, std::span<const double> xs, std::span<const double> ys)
      : model_(model), xs_(xs), ys_(ys) {}

  std::vector<double> residuals(std::span<const double> parameters) const {
    std::vector<double> result;
    for (std::size_t i = 0; i < xs_.size(); ++i) {
      result.push_back(ys_[i] - model_(xs_[i], parameters));
    }
    return result;
  }

  /// The normal equations of one step from `parameters`.
  Equations normal_equations(std::vector<double> parameters) const {
    const std::size_t n = parameters.size();
    const std::vector<double> rest = residuals(parameters);
    Equations normal{std::vector<double>(n * n, 0.0), std::vector<double>(n, 0.0)};
    for (std::size_t i = 0; i < xs_.size(); ++i) {
      const std::vector<double> slopes = slopes_at(xs_[i], parameters);
      for (std::size_t row = 0; row < n; ++row) {
        normal.right[row] += slopes[row] * rest[i];
        for (std::size_t column = 0; column < n; ++column) {
          normal.matrix[row * n + column] += slopes[row] * slopes[column];
        }
      }
    }
    return normal;
  }

 private:
  std::vector<double> slopes_at(double x, std::vector<double>& parameters) const {
    std::vector<double> slopes;
    for (double& parameter : parameters) {
      const double centre = parameter;
      const double step = 6e-6 * (centre == 0 ? 1.0 : std::abs(centre));
      parameter = centre + step;
      const double above = model_(x, parameters);
      parameter = centre - step;
      const double below = model_(x, parameters);
      parameter = centre;
      slopes.push_back((above - below) / (2 * step));
    }
    return slopes;
  }

  const Model& model_;
  std::span<const double> xs_;
  std::span<const double> ys_;
};

double sum_of_squares(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) {
    sum += value * value;
  }
  return sum;
}

/// One damped step; the same parameters where it can't be made.
std::vector<double> damped_step(const Equations& normal, const std::vector<double>& parameters,
                                double damping) {
  const std::size_t n = parameters.size();
  Equations damped = normal;
  for (std::size_t i = 0; i < n; ++i) {
    damped.matrix[i * n + i] *= 1 + damping;
  }
  const auto step = solve(damped);
  std::vector<double> next = parameters;
  for (std::size_t i = 0; step && i < n; ++i) {
    next[i] += (*step)[i];
  }
  return next;
}

std::vector<double> minimize(const Problem& problem, std::vector<double> parameters) {
  double damping = 1e-3;
  double best = sum_of_squares(problem.residuals(parameters));
  int idle_rounds = 0;
  for (int round = 0; round < 500 && idle_rounds < 12; ++round) {
    const Equations normal = problem.normal_equations(parameters);
    const std::vector<double> next = damped_step(normal, parameters, damping);
    const double sum = sum_of_squares(problem.residuals(next));
    if (sum < best) {
      idle_rounds = best - sum > 1e-14 * best ? 0 : idle_rounds + 1;
      best = sum;
      parameters = next;
      damping = std::max(damping / 10, 1e-15);
    } else {
      ++idle_rounds;
      damping = std::min(damping * 10, 1e10);
    }
  }
  return parameters;
}

/// A few undamped steps: near the minimum the sum is too flat to tell the last digits apart.
std::vector<double> polished(const Problem& problem, std::vector<double> parameters) {
  constexpr int kSteps = 4;
  constexpr double kFlat = 1 + 1e-9;
  double best = sum_of_squares(problem.residuals(parameters));
  for (int step = 0; step < kSteps; ++step) {
    const auto next = damped_step(problem.normal_equations(parameters), parameters, 0);
    const double sum = sum_of_squares(problem.residuals(next));
    if (!(sum <= best * kFlat)) {
      break;
    }
    best = std::min(best, sum);
    parameters = next;
  }
  return parameters;
}

std::optional<Fit> fit_at(const Problem& problem, std::vector<double> parameters,
                          std::size_t readings) {
  const std::size_t n = parameters.size();
  Fit fit{parameters, {}, {}, problem.residuals(parameters), 0};
  const auto freedom = static_cast<double>(readings - n);
  const double sum = sum_of_squares(fit.residuals);
  fit.residual_deviation =
      freedom > 0 ? std::sqrt(sum / freedom) : std::numeric_limits<double>::quiet_NaN();
  const auto inverted = inverse(problem.normal_equations(parameters).matrix, n);
  if (!inverted || !std::isfinite(sum)) {
    return std::nullopt;
  }
  for (const double element : *inverted) {
    fit.covariances.push_back(element * fit.residual_deviation * fit.residual_deviation);
  }
  for (std::size_t i = 0; i < n; ++i) {
    fit.standard_errors.push_back(std::sqrt(std::max(fit.covariances[i * n + i], 0.0)));
  }
  return fit;
}

double cooling_model(double time, std::span<const double> parameters) {
  return parameters[0] + parameters[1] * std::exp(-time / parameters[2]);
}

/// The best final value and rise for one time constant, which is linear in both.
struct TrialCurve {
  double final;
  double rise;
  double sum;
};

TrialCurve curve_of(double time_constant, std::span<const double> times,
                    std::span<const double> ys) {
  std::vector<double> decay;
  for (const double time : times) {
    decay.push_back(std::exp(-time / time_constant));
  }
  const auto line = fit_line(decay, ys);
  if (!line) {
    return {0, 0, std::numeric_limits<double>::infinity()};
  }
  return {line->parameters[0], line->parameters[1], sum_of_squares(line->residuals)};
}

}  // namespace

std::optional<Fit> fit_curve(const Model& model, std::span<const double> xs,
                             std::span<const double> ys, std::vector<double> start) {
  if (xs.size() < start.size()) {
    return std::nullopt;
  }
  const Problem problem(model, xs, ys);
  return fit_at(problem, polished(problem, minimize(problem, std::move(start))), xs.size());
}

std::optional<Fit> fit_line(std::span<const double> xs, std::span<const double> ys) {
  if (xs.size() < 2) {
    return std::nullopt;
  }
  double mean_x = 0;
  double mean_y = 0;
  for (std::size_t i = 0; i < xs.size(); ++i) {
    mean_x += xs[i] / static_cast<double>(xs.size());
    mean_y += ys[i] / static_cast<double>(xs.size());
  }
  double along = 0;
  double across = 0;
  for (std::size_t i = 0; i < xs.size(); ++i) {
    along += (xs[i] - mean_x) * (xs[i] - mean_x);
    across += (xs[i] - mean_x) * (ys[i] - mean_y);
  }
  if (!(along > 0)) {
    return std::nullopt;
  }
  const double slope = across / along;
  const Model line = [](double x, std::span<const double> p) { return p[0] + p[1] * x; };
  return fit_at(Problem(line, xs, ys), {mean_y - slope * mean_x, slope}, xs.size());
}

double CoolingFit::at(double time) const { return final + rise * std::exp(-time / time_constant); }

std::optional<CoolingFit> fit_cooling(std::span<const double> times, std::span<const double> ys) {
  if (times.size() < 3) {
    return std::nullopt;
  }
  const double span =
      *std::max_element(times.begin(), times.end()) - *std::min_element(times.begin(), times.end());
  // A scan first: the method below finds the nearest minimum, not the deepest.
  constexpr int kTrials = 120;
  double best_constant = 0;
  double best_sum = std::numeric_limits<double>::infinity();
  for (int trial = 0; trial <= kTrials && span > 0; ++trial) {
    const double constant = span * 0.02 * std::pow(5000, static_cast<double>(trial) / kTrials);
    if (const double sum = curve_of(constant, times, ys).sum; sum < best_sum) {
      best_sum = sum;
      best_constant = constant;
    }
  }
  // At an end of the scan the readings are a straight line, or one reading stands alone.
  if (best_constant < span * 0.021 || best_constant > span * 95) {
    return std::nullopt;
  }
  const TrialCurve start = curve_of(best_constant, times, ys);
  auto fit = fit_curve(cooling_model, times, ys, {start.final, start.rise, best_constant});
  if (!fit || !(fit->parameters[2] > 0)) {
    return std::nullopt;
  }
  const std::vector<double>& p = fit->parameters;
  const std::vector<double>& c = fit->covariances;
  const double variance = c[0] + c[4] + 2 * c[1];
  return CoolingFit{p[0],           p[1], p[2], p[0] + p[1], std::sqrt(std::max(variance, 0.0)),
                    std::move(*fit)};
}

}  // namespace report

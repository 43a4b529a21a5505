#include "unit/virtual_instrument/model/marching_solver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace virtual_instrument {
namespace {

// The circuit, with flux and current as its state:
//
//   source = resistance * current + leakage * d(current)/dt + induced
//   induced = d(flux)/dt
//   current = conductance * induced + magnetizing current(flux)
//
// One period is integrated with a two-stage implicit Runge-Kutta method: second order, stable where
// core losses make the circuit stiff, and its last stage ends the step. It also computes the
// derivative of the state after a period by the state before, so that Newton's method finds the
// state that repeats. Integrating until the state repeats would take as long as a flux offset takes
// to fade.

struct State {
  double flux;     ///< Vs
  double current;  ///< A
};

/// Derivatives by the flux and the current at the start of the period.
struct Gradient {
  double by_flux;
  double by_current;
};

struct Point {
  State state;
  Gradient flux;
  Gradient current;
  double induced;  ///< V
};

const double kStage = 1 - 1 / std::numbers::sqrt2;

Gradient combine(double a, const Gradient& x, double b, const Gradient& y) {
  return {a * x.by_flux + b * y.by_flux, a * x.by_current + b * y.by_current};
}

/// One implicit stage of length `g` from `base`, at the source voltage of its end. The circuit's
/// equations reduce to one for the induced voltage. Its residual increases with that voltage, so
/// Newton's method with a bracket always converges.
Point stage(const ExcitedWinding& winding, double source, double g, const Point& base) {
  const MagnetizingBranch& core = winding.core;
  const double series = winding.leakage_inductance + g * winding.resistance;
  double low = -std::numeric_limits<double>::infinity();
  double high = std::numeric_limits<double>::infinity();
  double induced = base.induced;
  double slope = 0;
  for (int iteration = 0; iteration < 200; ++iteration) {
    const double flux = base.state.flux + g * induced;
    const double residual = series * (core.core_conductance * induced + core.current(flux)) -
                            winding.leakage_inductance * base.state.current - g * source +
                            g * induced;
    slope = series * (core.core_conductance + g * core.slope(flux)) + g;
    (residual > 0 ? high : low) = induced;
    double next = induced - residual / slope;
    if (next < low || next > high) {
      next = (low + high) / 2;
    }
    const bool settled = std::abs(next - induced) <= 1e-14 * (std::abs(next) + std::abs(source));
    induced = next;
    if (settled || residual == 0) {
      break;
    }
  }
  const double flux = base.state.flux + g * induced;
  const double flux_slope = core.slope(flux);
  const Gradient induced_by = combine(-series * flux_slope / slope, base.flux,
                                      winding.leakage_inductance / slope, base.current);
  const Gradient flux_by = combine(1, base.flux, g, induced_by);
  return {{flux, core.core_conductance * induced + core.current(flux)},
          flux_by,
          combine(core.core_conductance, induced_by, flux_slope, flux_by),
          induced};
}

/// The point `factor` of the way along the line from `from` to `to`; above 1 it lies beyond `to`.
Point extrapolate(const Point& from, const Point& to, double factor) {
  return {{from.state.flux + factor * (to.state.flux - from.state.flux),
           from.state.current + factor * (to.state.current - from.state.current)},
          combine(1 - factor, from.flux, factor, to.flux),
          combine(1 - factor, from.current, factor, to.current),
          to.induced};
}

class PeriodMarch {
 public:
  PeriodMarch(const ExcitedWinding& winding, const SineSource& source)
      : winding_(winding),
        source_(source),
        step_(2 * std::numbers::pi / source.angular_frequency / kStepsPerPeriod) {}

  double source_at(double steps) const {
    return source_.peak * std::sin(2 * std::numbers::pi * steps / kStepsPerPeriod);
  }

  /// Integrates one period; calls `visit` with the number and the end of each step.
  template <typename Visit>
  Point march(const State& start, Visit visit) const {
    Point point{start, {1, 0}, {0, 1}, 0};
    for (int number = 0; number < kStepsPerPeriod; ++number) {
      const double g = kStage * step_;
      const Point first = stage(winding_, source_at(number + kStage), g, point);
      const Point base = extrapolate(point, first, (1 - kStage) / kStage);
      point = stage(winding_, source_at(number + 1), g, base);
      visit(number, point);
    }
    return point;
  }

 private:
  const ExcitedWinding& winding_;
  const SineSource& source_;
  const double step_;
};

/// One period from a trial state, which may not repeat yet.
struct Trial {
  State start;
  Point end;
  double current_scale;  ///< A, the largest current within the period
};

Trial try_state(const PeriodMarch& march, const State& start) {
  Trial trial{start, {}, 0};
  trial.end = march.march(start, [&trial](int, const Point& point) {
    trial.current_scale = std::max(trial.current_scale, std::abs(point.state.current));
  });
  return trial;
}

/// The difference between the end of `trial` and its start.
State residual(const Trial& trial) {
  return {trial.end.state.flux - trial.start.flux, trial.end.state.current - trial.start.current};
}

/// The change of its start that makes `trial` repeat, by the derivatives of `tangent`.
State newton_change(const Trial& trial, const Point& tangent) {
  const auto [flux_residual, current_residual] = residual(trial);
  const double a = 1 - tangent.flux.by_flux;
  const double b = -tangent.flux.by_current;
  const double c = -tangent.current.by_flux;
  const double d = 1 - tangent.current.by_current;
  const double determinant = a * d - b * c;
  return {(d * flux_residual - b * current_residual) / determinant,
          (a * current_residual - c * flux_residual) / determinant};
}

/// Newton's method for the state that repeats. The knee of the core can mislead it, so a step is
/// halved until the remaining change by the same tangent has become smaller. Where no part of a
/// step helps, the circuit runs for one period instead. With very little resistance this happens at
/// a state that repeats up to rounding, which is accepted.
State repeating_state(const PeriodMarch& march, const ExcitedWinding& winding,
                      const SineSource& source) {
  constexpr int kMostSteps = 200;
  constexpr double kSmallestPart = 1.0 / 64;
  constexpr double kAccuracy = 1e-10;
  constexpr double kRounding = 1e-12;
  const double flux_scale = source.peak / source.angular_frequency;
  const auto size = [flux_scale](const State& change, const Trial& trial) {
    return std::abs(change.flux) / flux_scale + std::abs(change.current) / trial.current_scale;
  };
  Trial trial = try_state(march, {-flux_scale, winding.core.current(-flux_scale)});
  for (int step = 0; step < kMostSteps; ++step) {
    const State change = newton_change(trial, trial.end);
    const double change_size = size(change, trial);
    if (change_size <= kAccuracy) {
      return trial.end.state;
    }
    double part = 1;
    bool helps = false;
    Trial next = trial;
    while (!helps && part >= kSmallestPart) {
      next = try_state(march, {trial.start.flux + part * change.flux,
                               trial.start.current + part * change.current});
      helps = size(newton_change(next, trial.end), trial) <= (1 - part / 4) * change_size;
      part /= 2;
    }
    if (helps) {
      trial = next;
    } else if (size(residual(trial), trial) <= kRounding) {
      return trial.end.state;
    } else {
      trial = try_state(march, trial.end.state);
    }
  }
  throw std::runtime_error("the circuit finds no steady state");
}

}  // namespace

SteadyState solve_steady_state(const ExcitedWinding& winding, const SineSource& source) {
  const PeriodMarch march(winding, source);
  const State start = repeating_state(march, winding, source);
  SteadyState steady;
  march.march(start, [&](int number, const Point& point) {
    steady.source_voltage.push_back(march.source_at(number + 1));
    steady.current.push_back(point.state.current);
    steady.induced_voltage.push_back(point.induced);
  });
  return steady;
}

}  // namespace virtual_instrument

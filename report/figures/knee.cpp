#include "report/figures/knee.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace report {
namespace {

/// A cubic through points whose slopes keep it monotone between them (Fritsch and Carlson).
class SmoothCurve {
 public:
  SmoothCurve(std::vector<double> xs, std::vector<double> ys)
      : xs_(std::move(xs)), ys_(std::move(ys)) {
    for (std::size_t i = 0; i < xs_.size(); ++i) {
      slopes_.push_back(slope_at(i));
    }
  }

  double operator()(double x) const {
    const auto after = std::upper_bound(xs_.begin() + 1, xs_.end() - 1, x);
    const auto i = static_cast<std::size_t>(after - xs_.begin()) - 1;
    const double width = xs_[i + 1] - xs_[i];
    const double t = (x - xs_[i]) / width;
    const double s = 1 - t;
    return ys_[i] * (1 + 2 * t) * s * s + slopes_[i] * width * t * s * s +
           ys_[i + 1] * t * t * (3 - 2 * t) - slopes_[i + 1] * width * t * t * s;
  }

 private:
  double chord(std::size_t i) const { return (ys_[i + 1] - ys_[i]) / (xs_[i + 1] - xs_[i]); }

  /// Of a parabola through an end and the two points next to it, within what stays monotone.
  double end_slope(std::size_t near, std::size_t far) const {
    const double width = xs_[near + 1] - xs_[near];
    const double next = xs_[far + 1] - xs_[far];
    const double slope = ((2 * width + next) * chord(near) - width * chord(far)) / (width + next);
    if (slope * chord(near) <= 0) {
      return 0;
    }
    const bool turns = chord(near) * chord(far) <= 0;
    return turns && std::abs(slope) > 3 * std::abs(chord(near)) ? 3 * chord(near) : slope;
  }

  double slope_at(std::size_t i) const {
    const std::size_t last = xs_.size() - 1;
    if (i == 0) {
      return end_slope(0, 1);
    }
    if (i == last) {
      return end_slope(last - 1, last - 2);
    }
    const double before = chord(i - 1);
    const double after = chord(i);
    if (before * after <= 0) {
      return 0;
    }
    const double w1 = 2 * (xs_[i + 1] - xs_[i]) + (xs_[i] - xs_[i - 1]);
    const double w2 = (xs_[i + 1] - xs_[i]) + 2 * (xs_[i] - xs_[i - 1]);
    return (w1 + w2) / (w1 / before + w2 / after);
  }

  std::vector<double> xs_;
  std::vector<double> ys_;
  std::vector<double> slopes_;
};

/// Slopes of a curve's straight beginning differ from the rule's by rounding only; a knee needs
/// more.
constexpr double kStraight = 1e-4;

/// The first crossing of zero from below, which must begin clearly below; by halving.
std::optional<double> first_rise_through_zero(const std::function<double(double)>& excess,
                                              double from, double to) {
  constexpr int kSteps = 2000;
  bool was_below = false;
  double below = from;
  for (int step = 0; step <= kSteps && from < to; ++step) {
    const double at = from + (to - from) * step / kSteps;
    const double value = excess(at);
    if (value < -kStraight) {
      was_below = true;
    }
    if (value < 0) {
      below = at;
    } else if (was_below && value >= 0) {
      double above = at;
      for (int round = 0; round < 60; ++round) {
        const double middle = (below + above) / 2;
        (excess(middle) < 0 ? below : above) = middle;
      }
      return (below + above) / 2;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<ExcitationCurve> curve_through(std::span<const ExcitationPoint> points) {
  std::vector<ExcitationPoint> usable;
  std::copy_if(points.begin(), points.end(), std::back_inserter(usable),
               [](const ExcitationPoint& point) {
                 return point.voltage > 0 && point.current > 0 && std::isfinite(point.voltage) &&
                        std::isfinite(point.current);
               });
  std::stable_sort(usable.begin(), usable.end(),
                   [](const auto& a, const auto& b) { return a.voltage < b.voltage; });
  std::vector<double> xs;
  std::vector<double> ys;
  for (const ExcitationPoint& point : usable) {
    // Closer than this they are one voltage, repeated; a slope between them would be noise.
    if (xs.empty() || std::log(point.voltage) > xs.back() + 1e-6) {
      xs.push_back(std::log(point.voltage));
      ys.push_back(std::log(point.current));
    }
  }
  if (xs.size() < 3) {
    return std::nullopt;
  }
  const double lowest = std::exp(xs.front());
  const double highest = std::exp(xs.back());
  return ExcitationCurve{SmoothCurve(std::move(xs), std::move(ys)), lowest, highest};
}

std::optional<double> knee_voltage(const ExcitationCurve& curve, const KneeRule& rule) {
  const double from = std::log(curve.lowest_voltage);
  const double to = std::log(curve.highest_voltage);
  const double step = rule.tangent == 0 ? std::log(1.1) : 2e-4;
  const auto rise = [&](double x, double width) {
    return curve.ln_current(x + width) - curve.ln_current(x);
  };
  const auto excess = [&](double x) {
    return rule.tangent == 0 ? rise(x, step) - std::log(1.5)
                             : rise(x - step / 2, step) / step - 1 / rule.tangent;
  };
  const auto found = rule.tangent == 0 ? first_rise_through_zero(excess, from, to - step)
                                       : first_rise_through_zero(excess, from + step, to - step);
  return found ? std::optional(std::exp(*found)) : std::nullopt;
}

}  // namespace report

#include "report/figures/statistics.h"

#include <algorithm>
#include <cmath>

namespace report {
namespace {

double covariance_of(std::span<const double> a, std::span<const double> b) {
  const double mean_a = mean_of(a);
  const double mean_b = mean_of(b);
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    sum += (a[i] - mean_a) * (b[i] - mean_b);
  }
  return sum / static_cast<double>(a.size() - 1);
}

}  // namespace

double mean_of(std::span<const double> readings) {
  double sum = 0;
  for (const double reading : readings) {
    sum += reading;
  }
  return sum / static_cast<double>(readings.size());
}

std::optional<Summary> summarize(std::span<const double> readings) {
  std::vector<double> finite;
  std::copy_if(readings.begin(), readings.end(), std::back_inserter(finite),
               [](double reading) { return std::isfinite(reading); });
  if (finite.empty()) {
    return std::nullopt;
  }
  const auto [smallest, largest] = std::minmax_element(finite.begin(), finite.end());
  Summary summary{finite.size(), *smallest, *largest, std::nullopt};
  if (finite.size() >= kFewestForStatistics) {
    const double deviation = std::sqrt(covariance_of(finite, finite));
    summary.spread =
        Spread{mean_of(finite), deviation,
               deviation / std::sqrt(static_cast<double>(finite.size())), 2.8 * deviation};
  }
  return summary;
}

double correlation(std::span<const double> a, std::span<const double> b) {
  return covariance_of(a, b) / std::sqrt(covariance_of(a, a) * covariance_of(b, b));
}

double expanded_uncertainty(double coverage_factor, double type_a, double type_b) {
  return coverage_factor * std::hypot(type_a, type_b);
}

double Estimates::uncertainty(std::size_t i) const {
  return std::sqrt(covariances[i * values.size() + i]);
}

Estimates estimates_of(std::span<const std::vector<double>> readings) {
  Estimates estimates;
  for (const std::vector<double>& quantity : readings) {
    estimates.values.push_back(mean_of(quantity));
    for (const std::vector<double>& other : readings) {
      estimates.covariances.push_back(covariance_of(quantity, other) /
                                      static_cast<double>(quantity.size()));
    }
  }
  return estimates;
}

Estimates estimates_from(std::span<const double> values, std::span<const double> uncertainties,
                         std::span<const double> correlations) {
  const std::size_t count = values.size();
  Estimates estimates{{values.begin(), values.end()}, std::vector<double>(count * count, 0.0)};
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = 0; j < count; ++j) {
      const double own = i == j ? 1 : 0;
      const double shared = correlations.empty() ? own : correlations[i * count + j];
      estimates.covariances[i * count + j] = shared * uncertainties[i] * uncertainties[j];
    }
  }
  return estimates;
}

Uncertain propagate(const Quantity& quantity, const Estimates& estimates) {
  const std::size_t count = estimates.values.size();
  std::vector<double> slopes(count);
  std::vector<double> at = estimates.values;
  for (std::size_t i = 0; i < count; ++i) {
    const double centre = estimates.values[i];
    // Small enough for the curvature, large enough for the digits of a double.
    const double step = 1e-5 * std::max(std::abs(centre), estimates.uncertainty(i));
    at[i] = centre + step;
    const double above = quantity(at);
    at[i] = centre - step;
    const double below = quantity(at);
    at[i] = centre;
    slopes[i] = step == 0 ? 0 : (above - below) / (2 * step);
  }
  double variance = 0;
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = 0; j < count; ++j) {
      variance += slopes[i] * slopes[j] * estimates.covariances[i * count + j];
    }
  }
  return {quantity(at), std::sqrt(std::max(variance, 0.0))};
}

Uncertain mean_of_sets(const Quantity& quantity, std::span<const std::vector<double>> readings) {
  std::vector<double> results;
  for (std::size_t set = 0; set < readings.front().size(); ++set) {
    std::vector<double> values;
    for (const std::vector<double>& each : readings) {
      values.push_back(each[set]);
    }
    results.push_back(quantity(values));
  }
  const double variance = covariance_of(results, results) / static_cast<double>(results.size());
  return {mean_of(results), std::sqrt(variance)};
}

}  // namespace report

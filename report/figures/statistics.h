#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <vector>

// Statistics of repeated readings, and how uncertainties of several quantities pass into a computed
// one: the experimental standard deviation, the repeatability limit of ISO 5725, and the law of
// propagation of the GUM with correlations.

namespace report {

/// The least number of readings for which a mean and a deviation are stated.
constexpr std::size_t kFewestForStatistics = 3;

struct Spread {
  double mean;
  double deviation;       ///< experimental standard deviation s, with n - 1
  double mean_deviation;  ///< s / sqrt(n)
  double repeatability;   ///< 2.8 s
};

struct Summary {
  std::size_t count;
  double smallest;
  double largest;
  std::optional<Spread> spread;  ///< none for fewer than three readings
};

/// Nothing without readings. Readings that are no finite numbers are left out.
std::optional<Summary> summarize(std::span<const double> readings);

double mean_of(std::span<const double> readings);

/// Of readings taken together, from -1 to 1. The means correlate as much as the readings.
double correlation(std::span<const double> a, std::span<const double> b);

/// U = k sqrt(uA^2 + uB^2).
double expanded_uncertainty(double coverage_factor, double type_a, double type_b);

/// Estimates of several quantities with their covariances, row by row.
struct Estimates {
  std::vector<double> values;
  std::vector<double> covariances;

  double uncertainty(std::size_t i) const;
};

/// The means of readings taken together, one list for each quantity; all of the same length.
Estimates estimates_of(std::span<const std::vector<double>> readings);

/// Estimates from standard uncertainties; `correlations` row by row, or empty for none.
Estimates estimates_from(std::span<const double> values, std::span<const double> uncertainties,
                         std::span<const double> correlations = {});

struct Uncertain {
  double value;
  double uncertainty;  ///< standard uncertainty
};

using Quantity = std::function<double(std::span<const double>)>;

/// A computed quantity and its standard uncertainty, by the first-order law of propagation.
Uncertain propagate(const Quantity& quantity, const Estimates& estimates);

/// The same from readings taken together: the quantity of each set, their mean and its standard
/// deviation. Correlations are in the readings, and nothing is neglected.
Uncertain mean_of_sets(const Quantity& quantity, std::span<const std::vector<double>> readings);

}  // namespace report

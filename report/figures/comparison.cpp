#include "report/figures/comparison.h"

#include <cmath>

namespace report {

Difference difference_of(double first, double second, std::optional<double> limit,
                         std::optional<double> deviation) {
  const double absolute = second - first;
  Difference difference{absolute, absolute / first * 100, std::nullopt, std::nullopt};
  if (limit) {
    difference.is_within_limit = std::abs(absolute) <= *limit;
  }
  if (deviation) {
    difference.is_within_repeatability = std::abs(absolute) <= 2.8 * *deviation;
  }
  return difference;
}

}  // namespace report

#pragma once

#include <optional>

// Two readings of one quantity beside each other: before and after, factory and field.

namespace report {

struct Difference {
  double absolute;  ///< second less first
  double percent;   ///< of the first
  std::optional<bool> is_within_limit;
  std::optional<bool> is_within_repeatability;  ///< 2.8 s
};

/// The limit is one of the absolute difference.
Difference difference_of(double first, double second, std::optional<double> limit,
                         std::optional<double> deviation);

}  // namespace report

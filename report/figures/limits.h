#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "report/figures/ratio.h"

// The limits that a report compares with, as tables with their sources. `field practice` marks a
// rule of thumb without a normative text, and the page says so.

namespace report {

struct LimitRow {
  std::string_view key;  ///< of report.toml, in the table [limits]
  std::string_view quantity;
  double value;
  std::string_view unit;
  std::string_view source;
};

/// Every limit with a number of its own, in the order of the documentation.
std::span<const LimitRow> limit_rows();

/// REQUIRES: a row with that key.
const LimitRow& limit_row(std::string_view key);

struct ClassPoint {
  double percent_of_rated;
  double ratio_error;   ///< percent
  double displacement;  ///< minutes
};

struct AccuracyClass {
  std::string_view name;
  std::span<const ClassPoint> points;  ///< at ascending percentages
};

/// Of measuring current transformers (IEC 61869-2), the most accurate first.
std::span<const AccuracyClass> current_classes();

/// Of measuring voltage transformers (IEC 61869-3). A class without a limit of displacement has an
/// infinite one.
std::span<const AccuracyClass> voltage_classes();

/// Null for a name that is none of them.
const AccuracyClass* find_class(std::span<const AccuracyClass> classes, std::string_view name);

/// Between the points of the class on a straight line; nothing below the first and above the last.
std::optional<ErrorPair> class_limit(const AccuracyClass& accuracy, double percent_of_rated);

struct ClassReading {
  double percent_of_rated;
  ErrorPair errors;
};

/// Whether every reading lies within the class. A reading outside the range of the class has no
/// limit and does not count; nothing if none counts.
std::optional<bool> is_within(const AccuracyClass& accuracy,
                              std::span<const ClassReading> readings);

/// The most accurate class that all readings lie within; null for none.
const AccuracyClass* best_class(std::span<const AccuracyClass> classes,
                                std::span<const ClassReading> readings);

}  // namespace report

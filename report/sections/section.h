#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "report/drawing/chart.h"
#include "report/facts/facts.h"
#include "report/figures/decision.h"
#include "report/settings/settings.h"

// A section of the page as data: lines, tables, pictures, verdicts. The page only renders it, and a
// comparison only joins two of them.

namespace report {

constexpr std::string_view kNotStated = "not stated";

inline double number_of(float value) { return static_cast<double>(value); }

struct Cell {
  std::string shown;
  std::string exact = {};  ///< in CSV; empty if the same
};

struct Column {
  std::string heading = {};
  std::string unit = {};
  bool is_number = true;
};

struct Table {
  std::string title;
  std::vector<Column> columns;
  std::vector<std::vector<Cell>> rows;
  std::string note;
};

/// A value beside its limit.
struct Finding {
  std::string quantity;
  std::string value;
  std::string limit;
  std::string deviation;    ///< of the value from what it should be; may be empty
  std::string uncertainty;  ///< U, or "not stated"
  Verdict verdict = Verdict::kNone;
  std::string source;  ///< of the limit
};

/// A value that can be compared with the one of the same key in another run.
struct Comparable {
  std::string key;
  std::string unit;
  double value;
  std::optional<double> deviation;      ///< s of repeated readings
  std::optional<double> limit_percent;  ///< of a difference
  std::string quantity = {};            ///< the key without the phase; empty for no phase
  std::string phase = {};
};

using Picture = std::variant<Chart, PhasorPicture>;

struct Section {
  std::string title;
  std::vector<NamedText> facts;
  std::vector<Finding> findings;
  std::vector<Table> tables;
  std::vector<Picture> pictures;
  std::vector<std::string> notes;
  std::vector<Comparable> comparables;
};

Cell text_cell(std::string_view text);
/// Shown with `decimals`, exact as in the operator's text.
Cell number_cell(double value, int decimals);
/// Shown with significant digits, where values differ by decades.
Cell significant_cell(double value, int digits);
/// Radians as degrees.
Cell degrees_cell(float radians);
/// A whole number.
Cell count_cell(double value);

double degrees_of(float radians);

/// A text, or "not stated" for an empty one.
std::string stated(const std::optional<std::string>& text);

/// A finding on a value and its limits, by the rule of the settings. `type_a` is the standard
/// uncertainty of the readings, `type_b` that of the instrument; without the latter there is no U.
struct Judged {
  std::string quantity;
  double value;
  std::string unit;
  int decimals;
  Limits limits;
  std::string limit_text;
  std::string source;
  double type_a = 0;
  std::optional<double> type_b = std::nullopt;
};
Finding judge(const Judged& judged, const Settings& settings);

}  // namespace report

#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "report/figures/decision.h"
#include "report/figures/limits.h"
#include "report/figures/temperature.h"

// What a report needs and no record holds: report.toml. Every key stands once, in one table, with
// what it takes, an example and its meaning; reading, problems, the example file and the page of
// the documentation follow from it.

namespace report {

enum class ValueKind { kText, kNumber, kPositive, kNumbers, kChoice };

struct SettingKey {
  std::string_view key;  ///< with its table
  ValueKind kind;
  std::string_view choices;  ///< separated by "|", of a choice
  std::string_view example;  ///< as TOML
  std::string_view meaning;
};

const std::vector<SettingKey>& setting_keys();

/// The values of a report.toml; what it does not state has none.
class Settings {
 public:
  std::optional<std::string> text(std::string_view key) const;
  std::optional<double> number(std::string_view key) const;
  std::vector<double> numbers(std::string_view key) const;

  /// The limit of a row of the table, and where it comes from: report.toml, or the row's source.
  struct StatedLimit {
    double value;
    std::string source;
  };
  StatedLimit limit(std::string_view key) const;

  DecisionRule rule() const;
  double coverage_factor() const { return number("uncertainty.k").value_or(2); }
  /// Nothing unless report.toml names it.
  std::optional<Conductor> conductor() const;
  bool has_decimal_comma() const { return text("report.decimal_separator") == ","; }

  std::map<std::string, std::string, std::less<>> texts;
  std::map<std::string, double, std::less<>> values;
  std::map<std::string, std::vector<double>, std::less<>> lists;
};

struct SettingsResult {
  Settings settings;
  std::vector<std::string> problems;  ///< "FILE:LINE: KEY: what is expected"; all of them
};

SettingsResult read_settings(std::string_view text, std::string_view file_name);

/// A report.toml with every key, its meaning and an example.
std::string example_settings();

}  // namespace report

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <map>
#include <numbers>
#include <optional>
#include <string>

#include "standards/standard_tables.h"

// Checks that the terminals that the H standard names for a phase make physical sense. In a group
// with the clock n, the low side lags the high side by n times 30 degrees; between the terminals
// that a row names on both sides, the voltages must be in phase or in opposition.

namespace {

using Phasor = std::complex<double>;

Phasor phasor_at(double degrees) { return std::polar(1.0, degrees * std::numbers::pi / 180); }

/// Voltage of a terminal mark such as "H1" or "X0" against the neutral, by its number and the lag
/// of its side. The neutral of a side without one is the middle of its triangle.
Phasor terminal_voltage(const std::string& mark, double lag) {
  const int number = mark.at(1) - '0';
  return number == 0 ? Phasor() : phasor_at(-120.0 * (number - 1) - lag);
}

Phasor voltage(const std::string& label, double lag) {
  return terminal_voltage(label.substr(0, 2), lag) - terminal_voltage(label.substr(3, 2), lag);
}

/// The clock of a row that names a plain vector group.
std::optional<int> clock_of(const std::string& name) {
  for (const std::string high_side : {"D", "Y", "YN", "Z", "ZN"}) {
    for (const std::string low_side : {"d", "y", "yn", "z", "zn"}) {
      const std::string windings = high_side + low_side;
      const std::string clock = name.substr(std::min(windings.size(), name.size()));
      if (name == windings + clock && !clock.empty() &&
          clock.find_first_not_of("0123456789") == std::string::npos) {
        return std::stoi(clock);
      }
    }
  }
  return std::nullopt;
}

/// Whole degrees, 0 to 359, by which the low side's voltage lags the high side's.
int lag_of(const LabelTriple& labels, const std::string& low_side, int clock) {
  const double angle = std::arg(voltage(labels.primary, 0) / voltage(low_side, 30.0 * clock));
  return (static_cast<int>(std::lround(angle * 180 / std::numbers::pi)) + 360) % 360;
}

/// The lags of the three phases in one text, such as "180 180 0".
std::string lags_of(const VectorLabels& row, int clock) {
  std::string text;
  for (const LabelTriple* labels : {&row.phaseA, &row.phaseB, &row.phaseC}) {
    text += (text.empty() ? "" : " ") + std::to_string(lag_of(*labels, labels->secondary, clock));
  }
  return text;
}

/// Rows by name whose lags are neither 0 nor 180 degrees in all phases alike.
using Lags = std::map<std::string, std::string>;

// Rows where the low side lags (30) or leads (330) by an hour between the terminals, and the one
// row whose last phase is reversed.
const Lags kKnownOthers = {
    {"Dy1", "30 30 30"},     {"Dy3", "30 30 30"},     {"Dy5", "30 30 30"},
    {"Dy7", "30 30 30"},     {"Dy9", "30 30 30"},     {"Dy11", "30 30 30"},
    {"Yd1", "330 330 330"},  {"Yd3", "30 30 30"},     {"Yd5", "330 330 330"},
    {"Yd7", "330 330 330"},  {"Yd9", "30 30 30"},     {"Yd11", "330 330 330"},
    {"YNd3", "0 0 180"},     {"YNy0", "330 330 330"}, {"YNy6", "30 30 30"},
    {"Yyn0", "330 330 330"}, {"Yyn6", "30 30 30"},    {"Yz1", "330 330 330"},
    {"Yz5", "330 330 330"},  {"Yz7", "330 330 330"},  {"Yz11", "330 330 330"},
    {"YNz7", "30 30 30"},    {"YNzn1", "30 30 30"},   {"YNzn7", "30 30 30"},
    {"YNzn11", "30 30 30"},  {"Zy5", "330 330 330"},  {"Zy11", "330 330 330"},
};

TEST(TerminalVoltages, AreInPhaseOrInOppositionButForKnownRows) {
  Lags others;
  int plain_groups = 0;
  for (const auto& [name, row] : table_h1h2().groups) {
    const std::optional<int> clock = clock_of(name);
    if (!clock) {
      continue;
    }
    ++plain_groups;
    const std::string lags = lags_of(row, *clock);
    if (lags != "0 0 0" && lags != "180 180 180") {
      others[name] = lags;
    }
  }
  EXPECT_EQ(plain_groups, 55);
  EXPECT_EQ(others, kKnownOthers);
}

TEST(TerminalVoltages, OfTheTertiaryAreThoseOfTheSecondary) {
  for (const auto& [name, row] : table_h1h2().groups) {
    if (const std::optional<int> clock = clock_of(name)) {
      for (const LabelTriple* labels : {&row.phaseA, &row.phaseB, &row.phaseC}) {
        EXPECT_EQ(lag_of(*labels, labels->tertiary, *clock),
                  lag_of(*labels, labels->secondary, *clock))
            << name;
      }
    }
  }
}

}  // namespace

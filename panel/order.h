#pragma once

#include <optional>
#include <string>
#include <vector>

#include "panel/kinds.h"
#include "virtual_instrument/bench/bench.h"

// What a person asks of the panel, and the settings of the tests that follow from it.

namespace panel {

/// What was typed; a setting that was not is what the bench or the panel has.
struct MeasureOrder {
  std::vector<std::string> kinds = {};
  std::string bench_file = {};  ///< empty for the built-in bench
  std::string id = {};          ///< empty for one made from date and time
  std::string asset = {};
  bool add = false;  ///< to the record of that ID
  virtual_instrument::WindingPair windings = virtual_instrument::WindingPair::h_x;  ///< to test
  std::optional<double> frequency = {};
  std::optional<double> voltage = {};
  std::optional<double> direct_voltage = {};
  std::optional<double> direct_current = {};
  std::optional<double> corrected_to = {};
  std::optional<double> minimum_inductance = {};
  std::optional<int> readings = {};
  std::optional<double> interval = {};
  std::optional<double> ambient = {};
  std::optional<double> rise = {};
  std::optional<double> time_constant = {};
  std::vector<double> frequencies = {};
};

/// The settings of an order's tests on a unit; what was not asked for suits the unit and the bench.
Settings settings_for(const MeasureOrder& order, const virtual_instrument::TransformerUnit& unit,
                      const virtual_instrument::Bench& bench);

}  // namespace panel

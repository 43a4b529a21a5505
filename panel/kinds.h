#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/model/transformer_unit.h"
#include "virtual_instrument/recording/record.h"

// The kinds of test that the panel offers: every one that the instrument knows besides the ratio
// tests, which clients ask for.

namespace panel {

/// What a person can set at the panel. Each kind uses a part of it.
struct Settings {
  virtual_instrument::FamilySettings family;
  std::int32_t readings;  ///< of a continuous test or a heat run
  double interval;        ///< s, from one reading to the next
  virtual_instrument::CoolingCurve cooling;
  std::vector<double> frequencies;  ///< Hz, of a stray loss response
};

/// Those of a panel that nobody has touched, on a unit of this frequency.
Settings default_settings(double frequency);

struct Measured {
  kvr_code code;
  virtual_instrument::TestResult result;  ///< of an accepted code
};

struct Kind {
  std::string_view name;  ///< as a person writes it
  std::string_view help;
  kvr_TestType type;
  std::string_view family;  ///< as family_of() names it
  /// Leaves in the unit what the test leaves in its core.
  Measured (*measure)(virtual_instrument::TransformerUnit& unit, const Settings& settings);
};

/// Makes the test. If the unit's circuit can't be solved, the instrument has an internal error, as
/// in a client's test.
Measured carry_out(const Kind& kind, virtual_instrument::TransformerUnit& unit,
                   const Settings& settings);

std::span<const Kind> kinds();

/// A line for each kind: its name and its help.
std::string list_of_kinds();

/// Null for an unknown name.
const Kind* find_kind(std::string_view name);

}  // namespace panel

#pragma once

#include <string>
#include <vector>

#include "report/sections/section.h"

// The readings of ratio and excitation tests in one list: of every test, of the results nested in
// it, and of every phase that was to be tested.

namespace report {

struct RatioReading {
  std::string test;  ///< "1", "1 up"
  std::string phase;
  const kvr_TestData_Ratio_Phase* data;
  double test_voltage;
  double reference_ratio;  ///< 0 for none
  std::size_t index;       ///< of the phase, 0 to 2
  bool is_three_phase;

  bool is_good() const { return data->status == KVR_RES_OK; }
};

/// A three-phase result with its label.
struct ThreePhaseResult {
  std::string test;
  const kvr_TestData_Ratio_3ph* data;
};

std::vector<ThreePhaseResult> three_phase_results(const kvr_TestRecord& record);
std::vector<RatioReading> ratio_readings(const kvr_TestRecord& record);

/// The names of the phases in the readings, in the order of their first reading.
std::vector<std::string> phases_in(const std::vector<RatioReading>& readings);

}  // namespace report

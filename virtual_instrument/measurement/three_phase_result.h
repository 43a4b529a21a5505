#pragma once

#include <array>
#include <string>

#include "api/request_records.h"
#include "api/result_records.h"
#include "virtual_instrument/measurement/phase_reading.h"

// From the readings of the phases to the result of a three-phase ratio test in one direction.

namespace virtual_instrument {

struct DirectionResult {
  kvr_code code;                ///< KVR_RES_PARTIAL_RESULT_CHECK_STATUS if some phases failed
  kvr_TestData_Ratio_3ph data;  ///< with nothing nested
  std::string raw_data;         ///< empty if it was not asked for
  double least_low_voltage;     ///< V r.m.s., of the phases that did not fail
  double voltage_ratio;         ///< the greatest of them
};

DirectionResult three_phase_result(const kvr_Ratio3phRequest& request,
                                   const std::array<PhaseReading, 3>& readings);

}  // namespace virtual_instrument

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/result_records.h"

// The points of resistance tests and heat runs in one list, in the order of the operator's text.

namespace report {

struct ResistanceReading {
  std::string test;
  std::string side;  ///< "primary", "secondary", "tertiary"
  std::int32_t tap;
  const kvr_TestData_Point* point;
};

std::vector<ResistanceReading> resistance_readings(kvr_TestData_Resistance* const* data,
                                                   std::uint32_t count);

}  // namespace report

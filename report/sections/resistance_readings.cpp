#include "report/sections/resistance_readings.h"

#include "report/sections/sections.h"

namespace report {
namespace {

void add_side(std::vector<ResistanceReading>& readings, const std::string& test,
              const std::string& side, const kvr_TestData_Taps* taps) {
  if (taps == nullptr) {
    return;
  }
  for (const kvr_TestData_Tap* const tap : entries_of(taps->taps, taps->count)) {
    for (const kvr_TestData_Point* const point : entries_of(tap->points, tap->point_count)) {
      readings.push_back({test, side, tap->tap, point});
    }
  }
}

}  // namespace

std::vector<ResistanceReading> resistance_readings(kvr_TestData_Resistance* const* data,
                                                   std::uint32_t count) {
  std::vector<ResistanceReading> readings;
  for (std::uint32_t i = 0; data != nullptr && i < count; ++i) {
    if (data[i] != nullptr && data[i]->sides != nullptr) {
      const kvr_TestData_Sides& sides = *data[i]->sides;
      const std::string test = std::to_string(i + 1);
      add_side(readings, test, "primary", sides.primary);
      add_side(readings, test, "secondary", sides.secondary);
      add_side(readings, test, "tertiary", sides.tertiary);
    }
  }
  return readings;
}

}  // namespace report

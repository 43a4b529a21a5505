#include "report/sections/ratio_readings.h"

#include <algorithm>

#include "common/field_text.h"

namespace report {
namespace {

void add_result(std::vector<ThreePhaseResult>& results, const std::string& label,
                const kvr_TestData_Ratio_3ph& result) {
  results.push_back({label, &result});
  if (result.step_up != nullptr) {
    add_result(results, label + " up", *result.step_up);
  }
  if (result.step_down != nullptr) {
    add_result(results, label + " down", *result.step_down);
  }
}

std::string phase_name(const kvr_TestData_Ratio_Phase& phase, std::size_t index) {
  const std::string_view name = field_text(phase.phase_name);
  return name.empty() ? std::string(1, static_cast<char>('A' + index)) : std::string(name);
}

/// Of a single-phase test: its terminals, where they are stated.
std::string pair_name(const kvr_TestData_Ratio_Phase& phase) {
  const std::string_view high = field_text(phase.high_side_phase);
  const std::string_view low = field_text(phase.low_side_phase);
  if (high.empty() && low.empty()) {
    return phase_name(phase, 0);
  }
  return std::string(high) + " / " + std::string(low);
}

}  // namespace

std::vector<ThreePhaseResult> three_phase_results(const kvr_TestRecord& record) {
  std::vector<ThreePhaseResult> results;
  for (std::uint32_t i = 0; record.data_ratio_3ph != nullptr && i < record.data_count; ++i) {
    if (record.data_ratio_3ph[i] != nullptr) {
      add_result(results, std::to_string(i + 1), *record.data_ratio_3ph[i]);
    }
  }
  return results;
}

std::vector<RatioReading> ratio_readings(const kvr_TestRecord& record) {
  std::vector<RatioReading> readings;
  for (const ThreePhaseResult& result : three_phase_results(record)) {
    const kvr_TestData_Ratio_3ph& data = *result.data;
    for (std::size_t i = 0; i < 3; ++i) {
      if (data.tested_phase == kAllPhases || data.tested_phase == static_cast<std::int32_t>(i)) {
        readings.push_back({result.test, phase_name(data.phases[i], i), &data.phases[i],
                            static_cast<double>(data.test_voltage), data.reference_ratio, i, true});
      }
    }
  }
  for (std::uint32_t i = 0; record.data_ratio_1ph != nullptr && i < record.data_count; ++i) {
    if (const kvr_TestData_Ratio_1ph* const data = record.data_ratio_1ph[i]) {
      readings.push_back({std::to_string(i + 1), pair_name(data->phase), &data->phase,
                          static_cast<double>(data->test_voltage), data->reference_ratio, 0,
                          false});
    }
  }
  return readings;
}

std::vector<std::string> phases_in(const std::vector<RatioReading>& readings) {
  std::vector<std::string> phases;
  for (const RatioReading& reading : readings) {
    if (std::find(phases.begin(), phases.end(), reading.phase) == phases.end()) {
      phases.push_back(reading.phase);
    }
  }
  return phases;
}

}  // namespace report

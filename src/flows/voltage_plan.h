#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One test of a run.
struct VoltagePlanEntry {
  std::int32_t test_method;  ///< 0, or the method that "Test ALL modes" asks for
  float voltage;             ///< V
};

/// The tests of a run, in order. May be empty.
using VoltagePlan = std::vector<VoltagePlanEntry>;

/// The plan that an answer means. Throws when the answer does not convert.
VoltagePlan voltage_plan_of(const std::string& answer);

/// Each voltage of the plan by each method. The run ignores the methods, so it repeats the plan in
/// the AUTO mode three times: deliberate.
VoltagePlan for_all_methods(const VoltagePlan& plan);

/// Asks for the voltages of a run until the answer converts: one voltage, a repeated one (10x5), or
/// one of the two fixed sequences. Leaves standard output at a precision of 2.
VoltagePlan prompt_voltage_plan();

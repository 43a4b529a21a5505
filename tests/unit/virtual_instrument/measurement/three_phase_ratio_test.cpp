#include "virtual_instrument/measurement/three_phase_ratio.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/model/phasor.h"

namespace virtual_instrument {
namespace {

Bench quiet_bench() {
  Bench bench{};
  bench.instrument.minimum_voltage = 0.1;
  bench.instrument.maximum_voltage = 250;
  bench.instrument.maximum_current = 2;
  bench.instrument.maximum_induced_voltage = 5000;
  bench.measurement.samples_per_period = 64;
  bench.measurement.periods = 4;
  bench.measurement.smallest_voltage = 0.05;
  return bench;
}

kvr_Ratio3phRequest request_for(const TransformerUnit& unit, kvr_TestType type,
                                kvr_TestingMode mode) {
  kvr_Ratio3phRequest request{};
  request.setup.windings[0].winding_type = unit.group.high;
  request.setup.windings[1].winding_type = unit.group.low;
  request.setup.windings[0].voltage = static_cast<float>(unit.rated_voltage[0]);
  request.setup.windings[1].voltage = static_cast<float>(unit.rated_voltage[1]);
  request.setup.connections[0].clock = kClockUnknown;
  request.setup.line_frequency = 50;
  request.testing_mode = mode;
  request.test_type = type;
  request.tested_phase = kAllPhases;
  request.test_voltage = 100;
  return request;
}

ThreePhaseRatio measure(const TransformerUnit& unit, const kvr_Ratio3phRequest& request,
                        const Bench& bench = quiet_bench()) {
  EXPECT_EQ(check_three_phase_ratio(request, bench), KVR_RES_OK);
  return measure_three_phase_ratio(unit, request, bench, 1);
}

double off_clock(double radians, int clock) {
  return std::remainder(degrees(radians) - 30.0 * clock, 360);
}

struct Course {
  kvr_TestType type;
  kvr_TestingMode mode;
};

class EveryGroup : public testing::TestWithParam<Course> {};

TEST_P(EveryGroup, ReadsItsClockAndItsTurns) {
  TransformerUnit unit = three_phase_unit();
  for (const WindingGroup& group : three_phase_groups()) {
    const double ratio = unit.rated_voltage[0] / unit.rated_voltage[1];
    unit.group = group;
    kvr_Ratio3phRequest request = request_for(unit, GetParam().type, GetParam().mode);
    request.test_voltage = GetParam().type == KVR_TEST_RATIO_UP ? 20 : 200;
    const ThreePhaseRatio result = measure(unit, request);
    SCOPED_TRACE(group_name(group));
    ASSERT_EQ(result.code, KVR_RES_OK);
    const double turns = ratio * turns_factor(group);
    EXPECT_NEAR(off_clock(result.data.phase_3ph, group.clock), 0, 0.01);
    EXPECT_NEAR(result.data.ratio_3ph / turns, 1, 0.003);
    EXPECT_NEAR(result.data.tvr_multiplier, turns_factor(group), 1e-9);
    for (const kvr_TestData_Ratio_Phase& phase : result.data.phases) {
      EXPECT_EQ(phase.status, KVR_RES_OK);
      EXPECT_NEAR(off_clock(phase.phase_shift_absolute, group.clock), 0, 0.15) << phase.phase_name;
      EXPECT_NEAR(phase.tnr / turns, 1, 0.005) << phase.phase_name;
      EXPECT_NEAR(phase.tvr / ratio, 1, 0.005) << phase.phase_name;
      EXPECT_NEAR(phase.tnr_error, (phase.tnr / turns - 1) * 100, 0.001);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Courses, EveryGroup,
                         testing::Values(Course{KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_3_3},
                                         Course{KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_3_3},
                                         Course{KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_3_1},
                                         Course{KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_1_1},
                                         Course{KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_1_1}));

}  // namespace
}  // namespace virtual_instrument

#pragma once

#include <gtest/gtest.h>

#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/measurement/three_phase_ratio.h"

// A three-phase ratio test on a bench without noise.

namespace virtual_instrument {

inline Bench quiet_bench() {
  Bench bench{};
  bench.instrument.minimum_voltage = 0.1;
  bench.instrument.maximum_voltage = 250;
  bench.instrument.maximum_current = 2;
  bench.instrument.maximum_induced_voltage = 5000;
  bench.instrument.voltage_range = 1e6;
  bench.instrument.current_range = 1e6;
  bench.measurement.samples_per_period = 64;
  bench.measurement.periods = 4;
  bench.measurement.smallest_voltage = 0.05;
  return bench;
}

inline kvr_Ratio3phRequest request_for(const TransformerUnit& unit, kvr_TestType type,
                                       kvr_TestingMode mode) {
  kvr_Ratio3phRequest request{};
  request.setup.windings[0].winding_type = unit.group.high;
  request.setup.windings[1].winding_type = unit.group.low;
  request.setup.windings[0].voltage = static_cast<float>(unit.rated_voltage[Side::high]);
  request.setup.windings[1].voltage = static_cast<float>(unit.rated_voltage[Side::low]);
  request.setup.connections[0].clock = kClockUnknown;
  request.setup.line_frequency = 50;
  request.testing_mode = mode;
  request.test_type = type;
  request.tested_phase = kAllPhases;
  request.test_voltage = 100;
  return request;
}

inline ThreePhaseRatio measure(const TransformerUnit& unit, const kvr_Ratio3phRequest& request,
                               const Bench& bench = quiet_bench()) {
  EXPECT_EQ(check_three_phase_ratio(request, bench), KVR_RES_OK);
  return measure_three_phase_ratio(unit, request, bench, 1);
}

inline kvr_Ratio3phRequest step_down(const TransformerUnit& unit) {
  return request_for(unit, KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_3_3);
}

/// With residual flux in all limbs.
inline TransformerUnit magnetised_unit() {
  TransformerUnit unit = saturating_three_phase_unit();
  const double knee = unit.core.limb.knee_flux;
  unit.core.residual_flux = {0.8 * knee, -0.5 * knee, -0.3 * knee};
  return unit;
}

}  // namespace virtual_instrument

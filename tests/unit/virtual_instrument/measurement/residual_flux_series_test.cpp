#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "unit/virtual_instrument/measurement/three_phase_measuring.h"
#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/measurement/measurements.h"

namespace virtual_instrument {
namespace {

struct Readings {
  std::vector<double> errors;
  std::array<double, 3> residual_flux;
};

Readings read_series(TransformerUnit unit, const std::vector<float>& voltages) {
  Readings readings{};
  Bench bench = quiet_bench();
  bench.instrument.maximum_voltage = 20000;
  bench.instrument.maximum_current = 1000;
  kvr_Ratio3phRequest request = step_down(unit);
  for (const float voltage : voltages) {
    request.test_voltage = voltage;
    const ThreePhaseRatio result = measure(unit, request, bench);
    EXPECT_EQ(result.code, KVR_RES_OK) << voltage;
    readings.errors.push_back(result.data.ratio_3ph_error);
    unit.core.residual_flux = result.residual_flux;
  }
  readings.residual_flux = unit.core.residual_flux;
  return readings;
}

TEST(ThreePhaseRatio, ErrorGrowsTowardsLowVoltageAndInSaturation) {
  const std::vector<double> errors =
      read_series(saturating_three_phase_unit(), {8, 40, 100, 250, 1000, 11000, 13000, 14000})
          .errors;
  EXPECT_GT(errors[0], errors[1]);
  EXPECT_GT(errors[1], errors[2]);
  EXPECT_GT(errors[2], errors[3]);
  EXPECT_GT(errors[3], errors[4]);
  EXPECT_GT(errors[6], errors[5]);
  EXPECT_GT(errors[7], errors[6]);
}

const std::vector<float> kAscending{40, 250, 1000, 4000, 11000};
const std::vector<float> kDescending{11000, 4000, 1000, 250, 40};

double largest_difference(const TransformerUnit& unit) {
  const std::vector<double> up = read_series(unit, kAscending).errors;
  const std::vector<double> down = read_series(unit, kDescending).errors;
  double largest = 0;
  for (std::size_t number = 0; number < up.size(); ++number) {
    largest = std::max(largest, std::abs(up[number] - down[up.size() - 1 - number]));
  }
  return largest;
}

TEST(ThreePhaseRatio, SeriesDifferWithResidualFluxOnly) {
  EXPECT_EQ(largest_difference(saturating_three_phase_unit()), 0);
  EXPECT_GT(largest_difference(magnetised_unit()), 0.005);
}

TEST(ThreePhaseRatio, DemagnetisingMakesSeriesAgree) {
  TransformerUnit unit = magnetised_unit();
  unit.core.residual_flux = demag_test(unit, family_settings(50)).residual_flux;
  EXPECT_LT(largest_difference(unit), 1e-5);
}

TEST(ThreePhaseRatio, ExcitationTakesResidualFluxBack) {
  const TransformerUnit unit = magnetised_unit();
  const Readings readings = read_series(unit, {1000});
  for (std::size_t limb = 0; limb < 3; ++limb) {
    const double left = readings.residual_flux[limb] / unit.core.residual_flux[limb];
    EXPECT_NEAR(left, 1 - 1000.0 / 11000 / 1.15, 0.01);
  }
}

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/model/magnetizing_branch.h"

#include <gtest/gtest.h>

#include <limits>

namespace virtual_instrument {
namespace {

const MagnetizingBranch kCore{0, 10, 1.5, 0.02, 1.15, 0.08, 0.1, 0};

TEST(MagnetizingBranch, IsLinearWithoutItsTwoFurtherTerms) {
  MagnetizingBranch core = kCore;
  core.low_flux_excess = 0;
  core.knee_flux = std::numeric_limits<double>::infinity();
  EXPECT_DOUBLE_EQ(core.current(3), 0.3);
  EXPECT_DOUBLE_EQ(core.current(-100), -10);
  EXPECT_DOUBLE_EQ(core.slope(100), 0.1);
}

TEST(MagnetizingBranch, TakesMoreCurrentTowardsZeroFlux) {
  EXPECT_DOUBLE_EQ(kCore.slope(0), 0.1 * 2.5);
  EXPECT_DOUBLE_EQ(kCore.current(0.02), 0.002 * 1.75);
  EXPECT_NEAR(kCore.current(1.0), 0.1 * (1 + 1.5 / 51), 1e-12);
}

TEST(MagnetizingBranch, HasTheSaturatedSlopeBeyondTheKnee) {
  EXPECT_NEAR(kCore.slope(1.05), 0.1, 1e-3);
  EXPECT_NEAR(kCore.slope(1.15), (0.1 + 10) / 2, 1e-3);
  EXPECT_NEAR(kCore.slope(1.3), 10, 1e-3);
  EXPECT_NEAR(kCore.current(2.15) - kCore.current(1.65), 5, 1e-3);
}

TEST(MagnetizingBranch, IsOddWithoutResidualFlux) {
  for (const double flux : {0.01, 0.5, 1.12, 1.2, 5.0}) {
    EXPECT_DOUBLE_EQ(kCore.current(-flux), -kCore.current(flux)) << flux;
  }
}

TEST(MagnetizingBranch, CountsFluxFromTheResidualFlux) {
  MagnetizingBranch core = kCore;
  core.residual_flux = 0.8;
  EXPECT_EQ(core.current(0), 0);
  EXPECT_GT(core.current(0.6), -2 * core.current(-0.6));
}

TEST(MagnetizingBranch, NeverFallsAndKnowsItsSlope) {
  MagnetizingBranch core = kCore;
  for (const double residual : {-2.0, 0.0, 1.1}) {
    core.residual_flux = residual;
    constexpr double kStep = 1e-6;
    for (double flux = -4; flux < 4; flux += 0.0173) {
      const double rise = core.current(flux + kStep) - core.current(flux - kStep);
      EXPECT_GT(rise, 0) << flux;
      EXPECT_NEAR(rise / (2 * kStep), core.slope(flux), 1e-3 * core.slope(flux)) << flux;
    }
  }
}

// Far above the knee, the difference of two large currents must not be rounding errors.
TEST(MagnetizingBranch, KeepsSmallChangesExactDeepInSaturation) {
  MagnetizingBranch core = kCore;
  core.low_flux_excess = 0;
  core.residual_flux = 1e6;
  EXPECT_DOUBLE_EQ(core.current(1e-9), 1e-8);
}

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/measurement/winding_losses.h"

#include <gtest/gtest.h>

#include <cmath>

#include "unit/virtual_instrument/model/units.h"

namespace virtual_instrument {
namespace {

// The short-circuit test that the unit was made from: 26.243 A at 495 V took 5500 W.
TEST(WindingLosses, SeriesImpedanceIsThatOfTheShortCircuitTest) {
  Noise noise(1);
  const TransformerUnit unit = three_phase_unit();
  const double star = 495 / (std::sqrt(3.0) * 26.243);
  const double resistance = 5500 / (3 * 26.243 * 26.243);
  const SeriesImpedance series = series_impedance(unit, family_settings(50), 0, 50, noise);
  EXPECT_NEAR(series.resistance / (2 * resistance), 1, 2e-3);
  EXPECT_NEAR(series.reactance / (2 * std::sqrt(star * star - resistance * resistance)), 1, 2e-3);
  EXPECT_NEAR(series.current, family_settings(50).test_voltage / (2 * star), 2e-3 * series.current);
}

TEST(WindingLosses, PartsAreSeparatedByAReadingAtHalfTheFrequency) {
  TransformerUnit unit = three_phase_unit();
  const FamilySettings settings = family_settings(50);
  Noise noise(1);
  for (const double share : {0.0, 0.1}) {
    for (const Side side : kSides) {
      unit.windings[side].stray_share = share;
    }
    const double resistance = series_impedance(unit, settings, 1, 50, noise).resistance;
    const ResistanceParts parts = part_losses(unit, settings, 1, resistance, noise);
    EXPECT_DOUBLE_EQ(parts.total(), resistance);
    EXPECT_NEAR(parts.stray / parts.copper, share, 2e-3);
  }
}

TEST(WindingLosses, ResistanceRisesAndStrayFallsWithTemperature) {
  for (const Conductor conductor : {kCopper, kAluminium}) {
    const double factor = (conductor.zero + 75) / (conductor.zero + 20);
    const ResistanceParts hot = corrected({2, 0.5}, conductor, 20, 75);
    EXPECT_DOUBLE_EQ(hot.copper, 2 * factor);
    EXPECT_DOUBLE_EQ(hot.stray, 0.5 / factor);
    EXPECT_DOUBLE_EQ(hot.total(), 2 * factor + 0.5 / factor);
  }
}

TEST(WindingLosses, BaseImpedanceDrawsRatedPower) {
  EXPECT_DOUBLE_EQ(base_impedance(three_phase_unit()), 11000.0 * 11000 / 500e3);
  EXPECT_DOUBLE_EQ(base_impedance(single_phase_unit()), 3200);
  EXPECT_EQ(pairs_per_star(three_phase_unit()), 2);
  EXPECT_EQ(pairs_per_star(single_phase_unit()), 1);
}

}  // namespace
}  // namespace virtual_instrument

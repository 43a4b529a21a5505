#include "virtual_instrument/model/sequence.h"

#include <gtest/gtest.h>

namespace virtual_instrument {
namespace {

constexpr double kAngleTolerance = 0.001;  // degrees

TEST(Sequence, TwoOppositeCurrentsHaveTwoEqualSystems) {
  const SequenceComponents parts = sequence_components({10, -10, 0});
  EXPECT_NEAR(magnitude(parts.zero), 0, 1e-12);
  EXPECT_NEAR(magnitude(parts.positive), 5.7735, 0.00005);
  EXPECT_NEAR(degrees(angle(parts.positive)), -30, kAngleTolerance);
  EXPECT_NEAR(magnitude(parts.negative), 5.7735, 0.00005);
  EXPECT_NEAR(degrees(angle(parts.negative)), 30, kAngleTolerance);
}

TEST(Sequence, ABalancedSystemIsItsOwnPositiveComponent) {
  const SequenceComponents parts =
      sequence_components({5, 5.0 * phasor_at(-1.0 / 3), 5.0 * phasor_at(1.0 / 3)});
  EXPECT_NEAR(magnitude(parts.positive - 5.0), 0, 1e-12);
  EXPECT_NEAR(magnitude(parts.negative), 0, 1e-12);
  EXPECT_NEAR(magnitude(parts.zero), 0, 1e-12);
}

TEST(Sequence, ExchangedPhasesAreNegative) {
  const SequenceComponents parts =
      sequence_components({5, 5.0 * phasor_at(1.0 / 3), 5.0 * phasor_at(-1.0 / 3)});
  EXPECT_NEAR(magnitude(parts.negative - 5.0), 0, 1e-12);
  EXPECT_NEAR(magnitude(parts.positive), 0, 1e-12);
}

TEST(Sequence, EqualPhasorsAreZeroSequence) {
  const SequenceComponents parts = sequence_components({Complex(1, 2), {1, 2}, {1, 2}});
  EXPECT_NEAR(magnitude(parts.zero - Complex(1, 2)), 0, 1e-12);
  EXPECT_NEAR(magnitude(parts.positive), 0, 1e-12);
  EXPECT_NEAR(magnitude(parts.negative), 0, 1e-12);
}

}  // namespace
}  // namespace virtual_instrument

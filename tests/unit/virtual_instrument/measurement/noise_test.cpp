#include "virtual_instrument/measurement/noise.h"

#include <gtest/gtest.h>

#include <cmath>

namespace virtual_instrument {
namespace {

// Literal values: a bench must measure the same on every platform.
TEST(Noise, IsFixedByItsSeed) {
  Noise noise(1);
  EXPECT_EQ(noise.next(), 1.4243480905156507);
  EXPECT_EQ(noise.next(), -0.618904259878568);
}

TEST(Noise, IsUniformIfAsked) {
  Noise noise(1);
  EXPECT_EQ(noise.uniform(), 0.5665615751722809);
  constexpr int kCount = 100000;
  double sum = 0;
  int below_a_tenth = 0;
  for (int i = 0; i < kCount; ++i) {
    const double value = noise.uniform();
    EXPECT_GE(value, 0);
    EXPECT_LT(value, 1);
    sum += value;
    below_a_tenth += value < 0.1;
  }
  EXPECT_NEAR(sum / kCount, 0.5, 0.01);
  EXPECT_NEAR(below_a_tenth / double{kCount}, 0.1, 0.01);
}

TEST(Noise, DiffersWithTheSeed) { EXPECT_NE(Noise(1).next(), Noise(2).next()); }

TEST(Noise, IsNormallyDistributed) {
  Noise noise(7);
  constexpr int kCount = 100000;
  double sum = 0;
  double squares = 0;
  int within_one = 0;
  for (int i = 0; i < kCount; ++i) {
    const double value = noise.next();
    sum += value;
    squares += value * value;
    within_one += std::abs(value) < 1;
  }
  EXPECT_NEAR(sum / kCount, 0, 0.02);
  EXPECT_NEAR(squares / kCount, 1, 0.02);
  EXPECT_NEAR(within_one / double{kCount}, 0.683, 0.01);
}

}  // namespace
}  // namespace virtual_instrument

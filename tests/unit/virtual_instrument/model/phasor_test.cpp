#include "virtual_instrument/model/phasor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace virtual_instrument {
namespace {

using std::numbers::pi;

TEST(Phasor, UnitPhasorIsCosineAndSine) {
  for (int step = -1000; step <= 1000; ++step) {
    const double turns = step / 317.0;
    EXPECT_NEAR(phasor_at(turns).real(), std::cos(2 * pi * turns), 3e-15) << turns;
    EXPECT_NEAR(phasor_at(turns).imag(), std::sin(2 * pi * turns), 3e-15) << turns;
  }
}

TEST(Phasor, QuartersOfATurnAreExact) {
  EXPECT_EQ(phasor_at(0), Complex(1, 0));
  EXPECT_EQ(phasor_at(0.25), Complex(0, 1));
  EXPECT_EQ(phasor_at(0.5), Complex(-1, 0));
  EXPECT_EQ(phasor_at(-0.25), Complex(0, -1));
}

TEST(Phasor, AngleIsTheArcTangentInEachQuadrant) {
  for (int step = -180; step <= 180; ++step) {
    const double x = std::cos(step * pi / 180);
    const double y = std::sin(step * pi / 180);
    EXPECT_NEAR(angle({3 * x, 3 * y}), std::atan2(y, x), 1e-15) << step;
  }
  EXPECT_EQ(angle({2, 2}), 0.78539816339744839);  // in every build, to the last digit
  EXPECT_EQ(angle({0, 0}), 0);
  EXPECT_EQ(angle({-2, 0}), pi);
}

TEST(Phasor, QuotientUndoesTheProduct) {
  const Complex a(3, -4);
  const Complex b(-0.5, 2);
  EXPECT_NEAR(magnitude(quotient(a * b, b) - a), 0, 1e-15);
  EXPECT_EQ(magnitude(a), 5);
}

TEST(Phasor, HalfATurnIsPositive) {
  EXPECT_EQ(fold_angle(pi), pi);
  EXPECT_EQ(fold_angle(-pi), pi);
  EXPECT_EQ(fold_angle(3 * pi), pi);
  EXPECT_EQ(fold_angle(-3 * pi), pi);
  EXPECT_EQ(angle(-1), pi);
  EXPECT_EQ(angle(Complex(-1, -0.0)), pi);
}

TEST(Phasor, FoldingKeepsAnglesWithinHalfATurn) {
  EXPECT_NEAR(fold_angle(3 * pi / 2), -pi / 2, 1e-15);
  EXPECT_NEAR(fold_angle(-3 * pi / 2), pi / 2, 1e-15);
  EXPECT_NEAR(fold_angle(0.5 + 2 * pi), 0.5, 1e-15);
  EXPECT_NEAR(fold_angle(-0.5 - 4 * pi), -0.5, 1e-15);
  EXPECT_EQ(fold_angle(1.0), 1.0);
  EXPECT_NEAR(degrees(radians(30)), 30, 1e-14);
}

TEST(Phasor, ExponentialIsThatOfTheLibrary) {
  for (int step = -200; step <= 200; ++step) {
    const double x = step / 7.0;
    EXPECT_NEAR(exponential(x) / std::exp(x), 1, 1e-14) << x;
  }
}

}  // namespace
}  // namespace virtual_instrument

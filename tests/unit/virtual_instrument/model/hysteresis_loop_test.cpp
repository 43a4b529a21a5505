#include "virtual_instrument/model/hysteresis_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace virtual_instrument {
namespace {

const StopElements& elements() {
  static const StopElements made = stop_elements({2, 0.5});
  return made;
}

std::vector<double> sine(double amplitude, double mean = 0, double fifth = 0) {
  std::vector<double> flux;
  for (int step = 0; step < 128; ++step) {
    const double angle = 2 * std::numbers::pi * step / 128;
    flux.push_back(mean + amplitude * std::sin(angle) + fifth * std::sin(5 * angle));
  }
  return flux;
}

std::vector<double> force_of(const std::vector<double>& flux, const StopState& start = {}) {
  std::vector<double> force(flux.size());
  add_loop(elements(), start, flux, force);
  return force;
}

/// The integral of force over flux around a period, by trapezoids.
double area_of(const std::vector<double>& flux, const std::vector<double>& force) {
  double area = 0;
  for (std::size_t step = 0; step < flux.size(); ++step) {
    const std::size_t next = (step + 1) % flux.size();
    area += (force[step] + force[next]) / 2 * (flux[next] - flux[step]);
  }
  return area;
}

double force_after(const std::vector<double>& changes) {
  StopState state{};
  for (const double change : changes) {
    move(elements(), state, change);
  }
  return total_force(state);
}

TEST(HysteresisLoop, IsAsStrongAsItsElementsTogether) {
  EXPECT_NEAR(force_after({100}), 2, 1e-12);
  EXPECT_NEAR(force_after({-100}), -2, 1e-12);
  EXPECT_NEAR(force_after({0.5}), 2, 1e-12);
  EXPECT_LT(force_after({0.4}), 2);
}

TEST(HysteresisLoop, BeginsSteeplyAndFlattens) {
  double last = 1e9;
  for (double flux = 0.001; flux < 0.5; flux *= 1.5) {
    const double slope = (force_after({1.1 * flux}) - force_after({flux})) / (0.1 * flux);
    EXPECT_LE(slope, last * (1 + 1e-9)) << flux;
    last = slope;
  }
}

TEST(HysteresisLoop, ABranchAfterAReversalIsTheFirstOneTwiceAsLarge) {
  for (const double flux : {0.01, 0.1, 0.3}) {
    EXPECT_NEAR(force_after({1}) - force_after({1, -2 * flux}), 2 * force_after({flux}), 1e-12);
  }
}

TEST(HysteresisLoop, AMinorLoopClosesAndIsForgotten) {
  StopState state{};
  move(elements(), state, 0.3);
  const StopState before = state;
  move(elements(), state, -0.1);
  EXPECT_LT(total_force(state), total_force(before));
  move(elements(), state, 0.1);
  for (std::size_t number = 0; number < kStopElements; ++number) {
    EXPECT_NEAR(state[number], before[number], 1e-12);
  }
  move(elements(), state, 0.1);
  EXPECT_NEAR(total_force(state), force_after({0.4}), 1e-12);
}

TEST(HysteresisLoop, AlternatingFluxThatFadesOutDemagnetises) {
  StopState state{};
  double sign = 1;
  double flux = 0;
  for (double swing = 1; swing > 1e-4; swing *= 0.98) {
    move(elements(), state, sign * swing - flux);
    flux = sign * swing;
    sign = -sign;
  }
  move(elements(), state, -flux);
  EXPECT_NEAR(total_force(state), 0, 0.02);
}

TEST(HysteresisLoop, WhatFadesOutAfterSaturationHoldsAForce) {
  for (const double amplitude : {0.0, 0.05, 0.2, 0.4}) {
    StopState state{};
    move(elements(), state, 10);
    double flux = 10;
    double sign = -1;
    for (double swing = amplitude; swing > 1e-5; swing *= 0.98) {
      move(elements(), state, sign * swing - flux);
      flux = sign * swing;
      sign = -sign;
    }
    move(elements(), state, -flux);
    EXPECT_NEAR(total_force(state), -held_force(elements(), amplitude), 0.02) << amplitude;
    EXPECT_NEAR(total_force(held_state(elements(), amplitude, 1)),
                -held_force(elements(), amplitude), 1e-12);
    EXPECT_NEAR(total_force(held_state(elements(), amplitude, -1)),
                held_force(elements(), amplitude), 1e-12);
  }
  EXPECT_NEAR(held_force(elements(), 0), 2, 1e-12);
  EXPECT_EQ(held_force(elements(), 0.5), 0);
}

TEST(HysteresisLoop, EnclosesItsArea) {
  for (const double amplitude : {0.05, 0.2, 0.5, 1.0, 3.0}) {
    const std::vector<double> flux = sine(amplitude);
    EXPECT_NEAR(area_of(flux, force_of(flux)) / loop_area(elements(), amplitude), 1, 0.01)
        << amplitude;
  }
}

TEST(HysteresisLoop, AreaGrowsWithTheSquareOfTheFluxThenInProportion) {
  for (const double amplitude : {0.01, 0.04, 0.16}) {
    EXPECT_NEAR(loop_area(elements(), 2 * amplitude) / loop_area(elements(), amplitude), 4, 0.2);
  }
  EXPECT_NEAR(loop_area(elements(), 3) - loop_area(elements(), 2), 4 * 2.0, 1e-9);
}

TEST(HysteresisLoop, OfASymmetricalFluxIsSymmetrical) {
  const std::vector<double> force = force_of(sine(0.3, 0, 0.1));
  for (std::size_t step = 0; step < 64; ++step) {
    EXPECT_NEAR(force[step], -force[step + 64], 1e-12);
  }
}

TEST(HysteresisLoop, RepeatsFromTheFirstPeriodOn) {
  const std::vector<double> flux = sine(0.3, 0.1, 0.15);
  const StopState start = held_state(elements(), 0.1, -1);
  const std::vector<double> force = force_of(flux, start);
  StopState state = start;
  double last = 0;
  for (int period = 0; period < 3; ++period) {
    for (std::size_t step = 0; step < flux.size(); ++step) {
      move(elements(), state, flux[step] - last);
      last = flux[step];
      if (period > 0) {
        EXPECT_NEAR(total_force(state) - total_force(start), force[step], 1e-12);
      }
    }
  }
}

TEST(HysteresisLoop, KnowsItsDerivatives) {
  const StopState start = held_state(elements(), 0.1, 1);
  const std::vector<double> flux = sine(0.31, 0.07, 0.17);
  const LoopDerivatives derivatives = loop_derivatives(elements(), start, flux);
  ASSERT_GT(derivatives.slips.size(), 4U);
  constexpr double kChange = 1e-7;
  for (std::size_t by = 0; by < flux.size(); by += 3) {
    std::vector<double> more = flux;
    more[by] += kChange;
    const std::vector<double> before = force_of(flux, start);
    const std::vector<double> after = force_of(more, start);
    for (std::size_t step = 0; step < flux.size(); ++step) {
      double expected = step == by ? derivatives.slope[step] : 0;
      for (const SlipDependence& slip : derivatives.slips) {
        expected += slip.step == by ? slip.slope[step] : 0;
      }
      EXPECT_NEAR((after[step] - before[step]) / kChange, expected, 1e-4) << by << " " << step;
    }
  }
}

}  // namespace
}  // namespace virtual_instrument

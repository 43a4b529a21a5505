#include "virtual_instrument/model/iron_shape.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "virtual_instrument/model/spectrum.h"

namespace virtual_instrument {
namespace {

constexpr double kOmega = 2 * std::numbers::pi * 50;

/// A limb whose rated flux is 1 Vs and whose linear current is 1 A there, in a core of one.
Core linear_core(double loss_current = 0.5, double hysteresis_share = 0.5) {
  Core core{};
  core.limbs = 1;
  core.limb = {loss_current / kOmega, 1, 0, 0.02, 1.15, 0.08, 1e-3, 0};
  core.hysteresis_share = hysteresis_share;
  core.reference_frequency = 50;
  return core;
}

Core shaped(Core core) {
  shape_iron(core, 1);
  return core;
}

/// The force that a sinusoidal flux takes at 50 Hz, losses included.
Spectrum force_at(const Core& core, double amplitude) {
  Spectrum flux{};
  flux[1] = amplitude;
  const std::vector<double> values = waveform(flux, 128);
  std::vector<double> force(values.size());
  for (std::size_t step = 0; step < values.size(); ++step) {
    force[step] = magnetizing_force(core, 0, values[step]);
  }
  if (has_loop(core)) {
    add_loop(stop_elements(core.loop), {}, values, force);
  }
  Spectrum result = harmonics_of<kHighestHarmonic + 1>(force);
  result[1] += Complex(0, loss_conductance(core, 50) * kOmega * amplitude);
  return result;
}

double third_share(const Core& core, double amplitude) {
  const Spectrum force = force_at(core, amplitude);
  return magnitude(force[3]) / magnitude(force[1]);
}

TEST(IronShape, GivesNoBendToALimbThatSaturatesAsItBegins) {
  Core core = linear_core();
  core.limb.saturated_inductance = core.limb.inductance;
  const MagnetizingBranch limb = shaped(core).limb;
  EXPECT_EQ(limb.bend_flux, 0);
  EXPECT_EQ(limb.bend_current, 0);
}

TEST(IronShape, KeepsLossesAndMagnetizingCurrentAtRatedFlux) {
  for (const double loss : {0.1, 0.5}) {
    for (const double share : {0.0, 0.4, 1.0}) {
      const Spectrum force = force_at(shaped(linear_core(loss, share)), 1);
      EXPECT_NEAR(force[1].imag(), loss, 0.005 * loss) << loss << " " << share;
      double square = force[1].real() * force[1].real();
      for (std::size_t harmonic = 2; harmonic < force.size(); ++harmonic) {
        square += std::norm(force[harmonic]);
      }
      EXPECT_NEAR(std::sqrt(square), 1, 1e-6) << loss << " " << share;
    }
  }
}

// Rated flux is in saturation then; the current is kept as far below the knee as it is otherwise.
TEST(IronShape, KeepsTheCurrentBelowAKneeUnderTheRatedFlux) {
  Core core = linear_core();
  core.limb.knee_flux = 1.15 * 0.8;
  const Spectrum force = force_at(shaped(core), 0.8);
  double square = force[1].real() * force[1].real();
  for (std::size_t harmonic = 2; harmonic < force.size(); ++harmonic) {
    square += std::norm(force[harmonic]);
  }
  EXPECT_NEAR(std::sqrt(square), 0.8, 1e-6);
}

TEST(IronShape, DistortsTheCurrentNearTheKneeAlone) {
  const Core core = shaped(linear_core());
  EXPECT_GT(third_share(core, 1), 0.3);
  EXPECT_LT(third_share(core, 1), 0.4);
  EXPECT_LT(third_share(core, 0.5), 0.08);
  EXPECT_LT(third_share(core, 0.1), 0.05);
}

TEST(IronShape, IsLessPermeableTowardsZeroFlux) {
  const Core core = shaped(linear_core());
  double last = 0;
  for (const double amplitude : {0.5, 0.2, 0.05, 0.01, 0.002}) {
    const double current = force_at(core, amplitude)[1].real() / amplitude;
    EXPECT_GT(current, last) << amplitude;
    last = current;
  }
  EXPECT_LT(last, 5);
}

TEST(IronShape, KeepsTheInductanceBeyondTheKnee) {
  const Core core = shaped(linear_core());
  EXPECT_NEAR(magnetizing_slope(core, 0, 1.4), 1000, 1e-6);
  EXPECT_NEAR(magnetizing_slope(core, 0, -5), 1000, 1e-6);
  double last = 0;
  for (double flux = 0.01; flux < 1.4; flux += 0.01) {
    EXPECT_GE(magnetizing_slope(core, 0, flux), last) << flux;
    last = magnetizing_slope(core, 0, flux);
  }
}

TEST(IronShape, HysteresisLossesAreTheAreaOfTheLoop) {
  const Core core = shaped(linear_core(0.5, 0.6));
  EXPECT_DOUBLE_EQ(core.loop_share, 0.6);
  // 0.6 of the losses at 50 Hz, 0.5 A and the peak of 1 Vs times 314 rad/s.
  EXPECT_NEAR(loop_area(stop_elements(core.loop), 1) * 50, 0.6 * 0.5 * kOmega / 2, 1e-9);
  EXPECT_NEAR(loss_conductance(core, 25), 0.4 * 0.5 / kOmega, 1e-12);
}

TEST(IronShape, ALoopTakesNoMoreThanTheMagnetizingCurrent) {
  const Core core = shaped(linear_core(5, 0.8));
  EXPECT_GT(core.loop_share, 0);
  EXPECT_LT(core.loop_share, 0.8);
  EXPECT_NEAR(core.limb.linear_share, 0.05, 1e-6);
  EXPECT_NEAR(force_at(core, 1)[1].imag(), 5, 0.025);  // the rest is a conductance
  // So it follows the same law of frequency.
  EXPECT_NEAR(loss_conductance(core, 25) * kOmega, 5 * ((0.8 - core.loop_share) * 2 + 0.2), 1e-9);
}

TEST(IronShape, LeavesALinearCoreAlone) {
  Core core = linear_core();
  core.limb.knee_flux = std::numeric_limits<double>::infinity();
  const Core same = shaped(core);
  EXPECT_FALSE(has_loop(same));
  EXPECT_EQ(same.loop_share, 0);
  EXPECT_EQ(same.limb.linear_share, 1);
  EXPECT_DOUBLE_EQ(magnetizing_force(same, 0, 3), 3);
}

TEST(IronShape, HasNoBendWithoutASteeperCurveBeyondTheKnee) {
  Core core = linear_core();
  core.limb.saturated_inductance = 2;
  EXPECT_EQ(shaped(core).limb.bend_flux, 0);
  core.limb.saturated_inductance = 0.2;  // the bend ends early
  const Core slight = shaped(core);
  // The slope of 11 at the bend flux, times the tenth power of the flux, is half of the rise by 4.
  EXPECT_NEAR(slight.limb.bend_end, std::pow(2.0 / 11, 0.1), 1e-12);
  EXPECT_NEAR(magnetizing_slope(slight, 0, 2), 5, 1e-9);
}

TEST(Remanence, FadesWithTheAmplitudeOfAnAlternatingFlux) {
  const Core core = shaped(linear_core());
  EXPECT_GT(remanence(core, 0), 0.5);
  EXPECT_LT(remanence(core, 0), 1);
  double last = remanence(core, 0);
  for (const double amplitude : {0.05, 0.1, 0.2, 0.4}) {
    const double left = remanence(core, amplitude);
    EXPECT_LT(left, last) << amplitude;
    last = left;
  }
  EXPECT_EQ(remanence(core, 0.5), 0);
}

TEST(Remanence, IsHeldByItsState) {
  Core core = shaped(linear_core());
  for (const double flux : {0.01, 0.3, -0.6}) {
    core.residual_flux[0] = flux;
    const StopState state = residual_state(core, 0);
    EXPECT_NEAR(flux_without_force(core, state, flux), flux, 1e-9);
  }
  // Iron that can't hold a flux is in the state after saturation, which holds less.
  core.residual_flux[0] = 3;
  const StopState state = residual_state(core, 0);
  EXPECT_NEAR(total_force(state), -core.loop.strength, 1e-12);
  EXPECT_NEAR(flux_without_force(core, state, remanence(core, 0)), remanence(core, 0), 1e-9);
}

TEST(ResidualFluxAfter, IsNoMoreThanTheLoopHolds) {
  Core core = shaped(linear_core());
  core.residual_flux = {0.6, -0.6, 0};
  const auto after = residual_flux_after(core, {0.1, 0.3, 1});
  EXPECT_DOUBLE_EQ(after[0], std::min(0.6, remanence(core, 0.1)));
  EXPECT_DOUBLE_EQ(after[1], -remanence(core, 0.3));
  EXPECT_EQ(after[2], 0);
  core.residual_flux = after;
  EXPECT_EQ(residual_flux_after(core, {0.1, 0.3, 1}), after);  // the same again changes nothing
}

TEST(TankReluctance, GivesTheZeroSequenceImpedance) {
  // A flux of 1 Vs in each limb needs the reluctance times 3 Vs.
  const double reluctance = tank_reluctance(80, 50);
  EXPECT_NEAR(kOmega / (3 * reluctance), 80, 1e-9);
}

}  // namespace
}  // namespace virtual_instrument

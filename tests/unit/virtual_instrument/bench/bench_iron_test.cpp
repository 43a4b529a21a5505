#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "unit/virtual_instrument/bench/units_of_benches.h"
#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/equivalent_circuit.h"

// The built-in bench's unit as a test engineer knows real ones: exciting current, losses,
// remanence, and flux that leaves the core.

namespace virtual_instrument {
namespace {

constexpr const char* kLinear = "saturation = false\n";

/// The high side's star on a three-phase source, in V of a line against the neutral.
PeriodicState excite(const TransformerUnit& unit, double volts) {
  std::vector<VoltageSource> sources =
      balanced_sources(unit, Side::high, volts * std::numbers::sqrt3);
  sources.push_back({terminal_node(Side::high, 0), 0});
  return solve_network(unit_network(unit, kInputResistance), sources, unit.frequency);
}

PeriodicState excite_phase(const TransformerUnit& unit, int phase, double volts) {
  return excite_pair(unit_network(unit, kInputResistance),
                     {Side::high, {phase, 0}, volts, unit.frequency, Side::low, {1, 0}});
}

double current(const PeriodicState& state, std::size_t source) {
  return rms(waveform(state.source_current[source], 256));
}

double third_harmonic(const PeriodicState& state, std::size_t source) {
  return magnitude(state.source_current[source][3]) / magnitude(state.source_current[source][1]);
}

const double kRated = 2400 / std::numbers::sqrt3;

TEST(ExcitingCurrent, HasAThirdHarmonicLikeThatOfRealUnits) {
  const TransformerUnit unit = unit_of("");
  for (std::size_t line = 0; line < 3; ++line) {
    EXPECT_GT(third_harmonic(excite(unit, kRated), line), 0.2);
    EXPECT_LT(third_harmonic(excite(unit, kRated), line), 0.5);
    EXPECT_LT(third_harmonic(excite(unit, kRated / 10), line), 0.05);
    const int phase = static_cast<int>(line) + 1;
    EXPECT_GT(third_harmonic(excite_phase(unit, phase, kRated), 0), 0.2);
    EXPECT_LT(third_harmonic(excite_phase(unit, phase, kRated), 0), 0.5);
    EXPECT_LT(third_harmonic(excite_phase(unit, phase, kRated / 10), 0), 0.05);
  }
}

/// Power of all sources, in W.
double power(const TransformerUnit& unit, double volts) {
  const std::vector<VoltageSource> sources =
      balanced_sources(unit, Side::high, volts * std::numbers::sqrt3);
  const PeriodicState state = excite(unit, volts);
  return source_power(state, 0, sources[0]) + source_power(state, 1, sources[1]) +
         source_power(state, 2, sources[2]);
}

TEST(Losses, AreTheAreaOfTheLoopsAndTheEddies) {
  const TransformerUnit unit = unit_of("");
  ASSERT_TRUE(has_loop(unit.core));
  for (const double volts : {kRated, kRated / 3, kRated / 20}) {
    const PeriodicState state = excite(unit, volts);
    double expected = 0;
    for (int limb = 0; limb < 3; ++limb) {
      const auto k = static_cast<std::size_t>(limb);
      const double length = path_length(unit.core, limb);
      expected +=
          length * unit.frequency * loop_area(stop_elements(unit.core.loop), state.peak_flux[k]);
      for (std::size_t harmonic = 1; harmonic < state.flux[k].size(); ++harmonic) {
        const double induced = 2 * std::numbers::pi * unit.frequency *
                               static_cast<double>(harmonic) * magnitude(state.flux[k][harmonic]);
        expected += length * loss_conductance(unit.core, unit.frequency) * induced * induced / 2;
      }
      expected += current(state, k) * current(state, k) * unit.windings[Side::high].resistance;
    }
    EXPECT_NEAR(power(unit, volts) / expected, 1, 0.01) << volts;
  }
}

TEST(Losses, AtRatedVoltageAreThoseOfTheLinearUnit) {
  const double linear = power(unit_of(kLinear), kRated);
  EXPECT_NEAR(power(unit_of(""), kRated) / linear, 1, 0.01);
  EXPECT_NEAR(power(unit_of("hysteresis_share = 0.9\n"), kRated) / linear, 1, 0.01);
  EXPECT_NEAR(power(unit_of("hysteresis_share = 0.0\n"), kRated) / linear, 1, 0.01);
}

TEST(Losses, OfHysteresisAreProportionalToTheFrequency) {
  const FamilySettings settings = family_settings(60);
  const kvr_TestData_Efficiency data =
      efficiency_test(unit_of("hysteresis_share = 0.7\n"), settings);
  EXPECT_NEAR(data.total_hysteresis /
                  (data.total_hysteresis + data.total_eddy_current * (1 + 1e-3 * (75 - 20))),
              0.7, 0.007);
}

TEST(Losses, StayLinearWithoutSaturation) {
  const TransformerUnit unit = unit_of(kLinear);
  EXPECT_FALSE(has_loop(unit.core));
  EXPECT_EQ(third_harmonic(excite(unit, kRated), 0), 0);
}

// ---- flux outside the core

/// By the book: the three terminals joined, against the neutral; three times voltage over current.
double zero_sequence_percent(const TransformerUnit& unit, double volts) {
  std::vector<VoltageSource> sources;
  for (int terminal = 1; terminal <= 3; ++terminal) {
    sources.push_back({terminal_node(Side::high, terminal), volts * std::numbers::sqrt2});
  }
  sources.push_back({terminal_node(Side::high, 0), 0});
  const PeriodicState state =
      solve_network(unit_network(unit, kInputResistance), sources, unit.frequency);
  const double amperes = magnitude(state.source_current[3][1]) / std::numbers::sqrt2;
  return 3 * volts / amperes / (2400.0 * 2400 / 75e3) * 100;
}

TEST(ZeroSequence, ImpedanceOfAThreeLimbUnitIsThatOfTheBench) {
  const double percent = zero_sequence_percent(unit_of(""), 30);
  EXPECT_GT(percent, 40);
  EXPECT_LT(percent, 150);
  EXPECT_NEAR(percent, 90, 2);
  for (const double given : {40.0, 60.0, 150.0}) {
    const std::string key = "zero_sequence_impedance = " + std::to_string(given) + "\n";
    // The leakage of the winding adds a percent, and the iron in parallel takes a few.
    EXPECT_NEAR(zero_sequence_percent(unit_of(key), 30), given, 0.04 * given);
    EXPECT_NEAR(zero_sequence_percent(unit_of(key + kLinear), 30), given, 0.025 * given);
  }
}

TEST(ZeroSequence, WithoutAWayOutOnlyTheLeakageIsLeft) {
  const TransformerUnit unit = unit_of("zero_sequence_impedance = 0\n");
  EXPECT_NEAR(zero_sequence_percent(unit, 1), 100 * std::hypot(0.45, 0.75) / 76.8, 0.01);
}

TEST(ZeroSequence, IsAsHighAsTheMagnetizingImpedanceWhereIronCarriesTheFlux) {
  const double tank = zero_sequence_percent(unit_of(""), 30);
  for (const char* const form : {"five-limb", "shell", "bank"}) {
    EXPECT_GT(zero_sequence_percent(unit_of("core_form = \"" + std::string(form) + "\"\n"), 30),
              10 * tank)
        << form;
  }
}

TEST(ZeroSequence, OuterLimbsSaturateAndThoseOfAShellLater) {
  const auto falls = [](const std::string& form) {
    const TransformerUnit unit = unit_of("core_form = \"" + form + "\"\n");
    return zero_sequence_percent(unit, kRated / 2) / zero_sequence_percent(unit, kRated / 10);
  };
  EXPECT_LT(falls("five-limb"), 0.1);  // their flux is three times that of a limb, on one section
  EXPECT_GT(falls("shell"), 0.3);
  EXPECT_GT(falls("bank"), 1);
}

TEST(Bank, IsThreeSinglePhaseUnits) {
  const TransformerUnit bank = unit_of("core_form = \"bank\"\n");
  // The same limb alone: 2400 V and 25 kVA of a winding on its own are 1385.6 V of a star.
  const TransformerUnit single = unit_of(
      "vector_group = \"Ii0\"\nhigh_voltage = 1385.6406460551018\nlow_voltage = "
      "138.56406460551018\n"
      "kva = 25.0\n");
  const PeriodicState alone =
      excite_pair(unit_network(single, kInputResistance),
                  {Side::high, {1, 2}, kRated, single.frequency, Side::low, {1, 2}});
  for (int phase = 1; phase <= 3; ++phase) {
    EXPECT_NEAR(current(excite_phase(bank, phase, kRated), 0) / current(alone, 0), 1, 1e-6);
    const PeriodicState three = excite(bank, kRated);
    EXPECT_NEAR(current(three, static_cast<std::size_t>(phase) - 1) / current(alone, 0), 1, 1e-3);
  }
}

struct ShortedUnit {
  std::string keys;
  double volts;
};

TEST(ShortedTurns, LeaveTheSoundPhasesTheirExcitingCurrent) {
  for (const ShortedUnit& fault :
       {ShortedUnit{kLinear, 100}, ShortedUnit{"", 100}, ShortedUnit{"", kRated},
        ShortedUnit{"zero_sequence_impedance = 50\n", 100}}) {
    const TransformerUnit sound = unit_of(fault.keys);
    TransformerUnit faulty = sound;
    faulty.faults.shorted_turns = {{Side::low, 0, 0.02, 0.001}};
    const PeriodicState before = excite(sound, fault.volts);
    const PeriodicState after = excite(faulty, fault.volts);
    EXPECT_GT(current(after, 0), 5 * current(before, 0)) << fault.keys;
    for (const std::size_t line : {1U, 2U}) {
      EXPECT_NEAR(current(after, line) / current(before, line), 1, 0.25)
          << fault.keys << line << " " << fault.volts;
    }
  }
}

// Currents of an independent solver of the linear network, with half the rated impedance.
TEST(ShortedTurns, DrawWhatAnotherSolverFinds) {
  TransformerUnit unit = unit_of(std::string("zero_sequence_impedance = 50\n") + kLinear);
  unit.faults.shorted_turns = {{Side::low, 0, 0.02, 0.001}};
  const PeriodicState state = excite(unit, 100);
  EXPECT_NEAR(current(state, 1), 0.014, 0.0005);
  EXPECT_NEAR(current(state, 2), 0.018, 0.0005);
}

// ---- remanence

TEST(Demagnetising, LeavesLessThanAPercentAndTheOuterLimbsAlike) {
  TransformerUnit unit = unit_of("residual_flux = [0.6, -0.4, -0.2]\n");
  const auto outer = [&unit] {
    return current(excite_phase(unit, 1, 100), 0) / current(excite_phase(unit, 3, 100), 0);
  };
  EXPECT_GT(outer(), 1.05);
  const DemagTest test = demag_test(unit, family_settings(60));
  ASSERT_EQ(test.code, KVR_RES_OK);
  for (const kvr_TestData_Demag_Phase& phase : test.phases) {
    EXPECT_GT(phase.remanence_initial, 0.1F);
    EXPECT_LT(phase.remanence_after_demag, 0.01F);
  }
  unit.core.residual_flux = test.residual_flux;
  EXPECT_NEAR(outer(), 1, 0.01);
}

TEST(ResidualFlux, OfADirectCurrentFadesUnderAnAlternatingOne) {
  TransformerUnit unit = unit_of("residual_flux = [0.6, -0.3, -0.3]\n");
  const double first = current(excite_phase(unit, 1, 50), 0);
  const auto fade = [&unit](double volts) {
    const PeriodicState state = excite_phase(unit, 1, volts);
    unit.core.residual_flux = residual_flux_after(unit.core, state.peak_flux);
    return unit.core.residual_flux[0] / rated_flux(unit);
  };
  double last = 0.6;
  for (const double volts : {200.0, 400.0, 600.0}) {
    const double left = fade(volts);
    EXPECT_LT(left, 0.99 * last) << volts;
    last = left;
  }
  EXPECT_EQ(fade(0.9 * kRated), 0);
  EXPECT_LT(current(excite_phase(unit, 1, 50), 0), 0.95 * first);
}

TEST(ResidualFlux, IsTheMeanOfAFluxTooSmallToMoveIt) {
  TransformerUnit unit = unit_of("residual_flux = [0.5, -0.25, -0.25]\n");
  const PeriodicState small = excite(unit, kRated / 100);
  const PeriodicState large = excite(unit, kRated);
  const double rated = rated_flux(unit);
  EXPECT_NEAR(small.flux[0][0].real() / rated, 0, 0.005);    // counted from the residual flux
  EXPECT_NEAR(large.flux[0][0].real() / rated, -0.5, 0.05);  // its own mean is zero again
}

}  // namespace
}  // namespace virtual_instrument

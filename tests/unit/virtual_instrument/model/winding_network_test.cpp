#include "virtual_instrument/model/winding_network.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <vector>

#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/model/equivalent_circuit.h"
#include "virtual_instrument/model/iron_shape.h"

namespace virtual_instrument {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kOmega = 2 * std::numbers::pi * 60;

/// Rated 8000/240 V: 15 + j120 ohm, 0.02 + j0.15 ohm, a core of 200 kohm parallel to j30 kohm.
TransformerUnit t_circuit_unit() {
  TransformerUnit unit{};
  unit.group = {KVR_WINDING_1P, KVR_WINDING_1P, 0};
  unit.rated_voltage = {8000, 240};
  unit.kva = 20;
  unit.frequency = 60;
  unit.reference_temperature = unit.temperature = 20;
  unit.taps = {KVR_TAP_CHANGER_NONE, 1, 1, 1, 1, 0, 0};
  unit.windings = {LimbWinding{15, 120 / kOmega, 0}, LimbWinding{0.02, 0.15 / kOmega, 0}};
  const double inductance = 30e3 / kOmega;
  unit.core = {1, {1 / 200e3, inductance, 0, 1, kInfinity, 1, inductance, 0}, 0, {}, 0, 0, 60};
  return unit;
}

/// A unit with three limbs and one winding on each side, whose terminals are all accessible.
TransformerUnit three_limb_unit(double yoke_ratio) {
  TransformerUnit unit = t_circuit_unit();
  unit.group = {KVR_WINDING_YN, KVR_WINDING_YN, 0};
  unit.windings = {LimbWinding{1e-6, 1e-9, 0}, LimbWinding{1e-6, 1e-9, 0}};
  unit.core.limbs = 3;
  unit.core.yoke_ratio = yoke_ratio;
  return unit;
}

double fundamental_rms(const Spectrum& spectrum) { return magnitude(spectrum[1]) / std::sqrt(2.0); }

double rms(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) {
    sum += value * value;
  }
  return std::sqrt(sum / static_cast<double>(values.size()));
}

Spectrum pair_voltage(const PeriodicState& state, Side side, TerminalPair pair) {
  return difference(state.node_voltage[static_cast<std::size_t>(terminal_node(side, pair.plus))],
                    state.node_voltage[static_cast<std::size_t>(terminal_node(side, pair.minus))]);
}

PeriodicState excite(const TransformerUnit& unit, Side side, TerminalPair pair, double voltage) {
  return solve_network(unit_network(unit, 1e12),
                       {{terminal_node(side, pair.plus), voltage * std::numbers::sqrt2},
                        {terminal_node(side, pair.minus), 0}},
                       unit.frequency);
}

TEST(WindingNetwork, TheCircuitOfASinglePhaseUnitReadsItsTextbookError) {
  const PeriodicState state = excite(t_circuit_unit(), Side::high, {1, 2}, 8000);
  const Spectrum high = pair_voltage(state, Side::high, {1, 2});
  const Spectrum low = pair_voltage(state, Side::low, {1, 2});
  const Complex ratio = quotient(high[1], low[1]) / (8000.0 / 240);
  EXPECT_NEAR((magnitude(ratio) - 1) * 100, 0.4075, 0.01);
  EXPECT_NEAR(degrees(angle(ratio)), 0.0057, 0.001);
  EXPECT_NEAR(fundamental_rms(state.source_current[0]), 0.26856, 0.0001 * 0.26856);
  const PeriodicState reduced = excite(t_circuit_unit(), Side::high, {1, 2}, 100);
  EXPECT_NEAR(fundamental_rms(reduced.source_current[0]), 3.357e-3, 0.001 * 3.357e-3);
}

TEST(WindingNetwork, TheSourcesGiveWhatTheResistancesTake) {
  TransformerUnit unit = t_circuit_unit();
  const PeriodicState state = excite(unit, Side::high, {1, 2}, 8000);
  const double power =
      source_power(state, 0, {terminal_node(Side::high, 1), 8000 * std::numbers::sqrt2});
  const double current = fundamental_rms(state.source_current[0]);
  const double induced = magnitude(state.flux[0][1]) * kOmega / std::sqrt(2.0);
  EXPECT_NEAR(power, current * current * 15 + induced * induced / 200e3, power * 1e-5);
}

struct Balance {
  int limb;
  std::array<double, 3> volts;
};

TEST(WindingNetwork, EqualYokesAndLimbsShareFluxByTheirLengths) {
  const TransformerUnit unit = three_limb_unit(1);
  const Balance balances[] = {{0, {84, -56, -28}}, {1, {-42, 84, -42}}, {2, {-28, -56, 84}}};
  for (const Balance& balance : balances) {
    const PeriodicState state = excite(unit, Side::high, {balance.limb + 1, 0}, 84);
    for (int limb = 0; limb < 3; ++limb) {
      const Complex volts = pair_voltage(state, Side::high, {limb + 1, 0})[1] / std::sqrt(2.0);
      EXPECT_NEAR(volts.real(), balance.volts[static_cast<std::size_t>(limb)], 0.084);
      EXPECT_NEAR(volts.imag(), 0, 0.084);
    }
  }
}

TEST(WindingNetwork, TheMiddleLimbDrawsLessThanAnOuterOne) {
  const TransformerUnit unit = three_limb_unit(1);
  const double outer = fundamental_rms(excite(unit, Side::high, {1, 0}, 84).source_current[0]);
  const double middle = fundamental_rms(excite(unit, Side::high, {2, 0}, 84).source_current[0]);
  const double other = fundamental_rms(excite(unit, Side::high, {3, 0}, 84).source_current[0]);
  EXPECT_NEAR(middle / outer, 0.75, 0.00075);
  EXPECT_NEAR(other / outer, 1, 1e-6);
}

TEST(WindingNetwork, WithoutYokesAllLimbsAreAlike) {
  const TransformerUnit unit = three_limb_unit(0);
  const double outer = fundamental_rms(excite(unit, Side::high, {1, 0}, 84).source_current[0]);
  const double middle = fundamental_rms(excite(unit, Side::high, {2, 0}, 84).source_current[0]);
  EXPECT_NEAR(middle / outer, 1, 1e-5);
}

TransformerUnit saturating_unit() {
  TransformerUnit unit = t_circuit_unit();
  unit.core.limb.knee_flux = 1.1 * rated_flux(unit);
  unit.core.limb.knee_width = 0.1 * rated_flux(unit);
  unit.core.limb.saturated_inductance = unit.core.limb.inductance / 100;
  unit.core.limb.low_flux = 0.02 * rated_flux(unit);
  unit.core.remanence_excess = 1;
  return unit;
}

/// The largest residual of the circuit's equation in a period, as a share of the largest current.
double worst_imbalance(const TransformerUnit& unit, const PeriodicState& state) {
  const auto current = waveform(state.source_current[0], 512);
  const auto flux = waveform(state.flux[0], 512);
  Spectrum induced{};
  for (std::size_t h = 1; h < induced.size(); ++h) {
    induced[h] = Complex(0, static_cast<double>(h) * kOmega) * state.flux[0][h];
  }
  const auto voltage = waveform(induced, 512);
  double worst = 0;
  double largest = 0;
  for (std::size_t step = 0; step < current.size(); ++step) {
    const double taken = magnetizing_force(unit.core, 0, flux[step]) +
                         loss_conductance(unit.core, unit.frequency) * voltage[step];
    worst = std::max(worst, std::abs(taken - current[step]));
    largest = std::max(largest, std::abs(current[step]));
  }
  return worst / largest;
}

TEST(WindingNetwork, CurrentFollowsTheCurveOfTheCoreInSaturation) {
  const TransformerUnit unit = saturating_unit();
  const PeriodicState state = excite(unit, Side::high, {1, 2}, 8800);
  // The curve has harmonics above those that are solved for.
  EXPECT_LT(worst_imbalance(unit, state), 0.03);
  EXPECT_GT(magnitude(state.source_current[0][3]), 0.2 * magnitude(state.source_current[0][1]));
  EXPECT_EQ(state.source_current[0][2], Complex{});
}

TEST(WindingNetwork, CurrentRisesAndRatioErrorGrowsInSaturation) {
  const TransformerUnit unit = saturating_unit();
  double last_current = 0;
  double last_error = 0;
  for (const double voltage : {8000.0, 8800.0, 9600.0, 12000.0}) {
    const PeriodicState state = excite(unit, Side::high, {1, 2}, voltage);
    const double current = rms(waveform(state.source_current[0], 256)) / voltage;
    const double error = magnitude(quotient(pair_voltage(state, Side::high, {1, 2})[1],
                                            pair_voltage(state, Side::low, {1, 2})[1])) /
                             (8000.0 / 240) -
                         1;
    EXPECT_GT(current, last_current) << voltage;
    EXPECT_GT(error, last_error) << voltage;
    last_current = current;
    last_error = error;
  }
}

TEST(WindingNetwork, ResidualFluxMakesTheCurrentLopsidedButGivesItNoMean) {
  TransformerUnit unit = saturating_unit();
  unit.core.residual_flux[0] = 0.8 * rated_flux(unit);
  const PeriodicState state = excite(unit, Side::high, {1, 2}, 8000);
  EXPECT_GT(magnitude(state.source_current[0][2]), 1e-3 * magnitude(state.source_current[0][1]));
  EXPECT_EQ(state.source_current[0][0], Complex{});
  double mean_force = 0;
  for (const double flux : waveform(state.flux[0], 128)) {
    mean_force += magnetizing_force(unit.core, 0, flux) / 128;
  }
  EXPECT_NEAR(mean_force, 0, 1e-6 * magnitude(state.source_current[0][1]));
}

TEST(WindingNetwork, ExcitationThatFadesOutTakesResidualFluxBack) {
  TransformerUnit unit = saturating_unit();
  const double knee = unit.core.limb.knee_flux;
  unit.core.residual_flux = {0.8, -0.4, 0.2};
  const auto after = residual_flux_after(unit.core, {knee / 2, knee / 4, 2 * knee});
  EXPECT_DOUBLE_EQ(after[0], 0.4);
  EXPECT_DOUBLE_EQ(after[1], -0.3);
  EXPECT_EQ(after[2], 0);
}

TEST(WindingNetwork, ShortedTurnsDrawCurrent) {
  TransformerUnit unit = t_circuit_unit();
  const double sound = fundamental_rms(excite(unit, Side::high, {1, 2}, 100).source_current[0]);
  unit.faults.shorted_turns = {{Side::high, 0, 0.01, 0.01}};
  const double faulty = fundamental_rms(excite(unit, Side::high, {1, 2}, 100).source_current[0]);
  EXPECT_GT(faulty, 5 * sound);
}

// Sources at all terminals fix the voltages, so that only the capacitors' own currents come to it.
TEST(WindingNetwork, SourcesFeedTheCapacitorsBetweenTheWindings) {
  TransformerUnit unit = t_circuit_unit();
  const std::vector<VoltageSource> sources{{terminal_node(Side::high, 1), 8000},
                                           {terminal_node(Side::high, 2), -50},
                                           {terminal_node(Side::low, 1), Complex(240, 3)},
                                           {terminal_node(Side::low, 2), Complex(0, 7)}};
  const PeriodicState without = solve_network(unit_network(unit, 1e12), sources, 60);
  unit.winding_capacitance = 1e-3;
  const PeriodicState with = solve_network(unit_network(unit, 1e12), sources, 60);
  const Complex first = Complex(0, kOmega * 1e-3) * (sources[0].voltage - sources[2].voltage);
  const Complex second = Complex(0, kOmega * 1e-3) * (sources[1].voltage - sources[3].voltage);
  const Complex expected[] = {first, second, -first, -second};
  for (std::size_t number = 0; number < sources.size(); ++number) {
    const Complex more = with.source_current[number][1] - without.source_current[number][1];
    EXPECT_NEAR(magnitude(more - expected[number]), 0, 1e-6 * magnitude(first)) << number;
  }
}

TEST(WindingNetwork, ResistanceToDirectCurrentFollowsFromTheWindings) {
  TransformerUnit unit = three_limb_unit(1);
  unit.windings = {LimbWinding{3, 0, 0}, LimbWinding{0.006, 0, 0}};
  const auto between = [&unit](Side side, TerminalPair pair) {
    return dc_resistance(unit_network(unit, 1e12), terminal_node(side, pair.plus),
                         terminal_node(side, pair.minus));
  };
  EXPECT_NEAR(between(Side::high, {1, 0}), 3, 1e-6);
  EXPECT_NEAR(between(Side::high, {1, 3}), 6, 1e-6);
  unit.group = {KVR_WINDING_D, KVR_WINDING_YN, 11};
  EXPECT_NEAR(between(Side::high, {1, 3}), 2, 1e-6);
  EXPECT_NEAR(between(Side::low, {1, 2}), 0.012, 1e-8);
}

TEST(WindingNetwork, TheSameInputsGiveTheSameBits) {
  TransformerUnit unit = saturating_unit();
  unit.core.residual_flux[0] = 0.5 * rated_flux(unit);
  const PeriodicState first = excite(unit, Side::high, {1, 2}, 9000);
  const PeriodicState second = excite(unit, Side::high, {1, 2}, 9000);
  EXPECT_EQ(first.source_current, second.source_current);
  EXPECT_EQ(first.node_voltage, second.node_voltage);
  EXPECT_EQ(first.flux, second.flux);
}

std::uint64_t hash_of_bits(const PeriodicState& state) {
  std::uint64_t hash = 14695981039346656037U;
  for (const Spectrum& spectrum : state.node_voltage) {
    for (const Complex& phasor : spectrum) {
      for (const double part : {phasor.real(), phasor.imag()}) {
        hash = (hash ^ std::bit_cast<std::uint64_t>(part)) * 1099511628211U;
      }
    }
  }
  return hash;
}

// A change of the model changes this number. A compiler, a library or a processor must not.
TEST(WindingNetwork, EveryBuildGivesTheSameBits) {
  TransformerUnit unit = saturating_three_phase_unit();
  unit.core.residual_flux = {0.8 * rated_flux(unit), -0.5 * rated_flux(unit),
                             -0.3 * rated_flux(unit)};
  const PeriodicState state =
      solve_network(unit_network(unit, 1e9), balanced_sources(unit, Side::high, 12000), 50);
  EXPECT_EQ(hash_of_bits(state), 9209355062480908534U);
}

TEST(WindingNetwork, EveryBuildGivesTheSameBitsWithLoops) {
  TransformerUnit unit = saturating_three_phase_unit();
  shape_iron(unit.core, rated_flux(unit));
  unit.core.outside = {true, tank_reluctance(700, 50), 0, 1};
  unit.core.residual_flux = {0.5 * rated_flux(unit), -0.3 * rated_flux(unit),
                             -0.2 * rated_flux(unit)};
  const PeriodicState state =
      solve_network(unit_network(unit, 1e9), balanced_sources(unit, Side::high, 11000), 50);
  EXPECT_EQ(hash_of_bits(state), 12249731020319211676U);
}

TEST(WindingNetwork, AWaveformIsTheSumOfItsHarmonics) {
  Spectrum spectrum{};
  spectrum[0] = 0.5;
  spectrum[1] = Complex(0, -2);
  spectrum[3] = 1;
  const auto values = waveform(spectrum, 16);
  for (int step = 0; step < 16; ++step) {
    const double angle = 2 * std::numbers::pi * step / 16;
    EXPECT_NEAR(values[static_cast<std::size_t>(step)],
                0.5 + 2 * std::sin(angle) + std::cos(3 * angle), 1e-14);
  }
}

}  // namespace
}  // namespace virtual_instrument

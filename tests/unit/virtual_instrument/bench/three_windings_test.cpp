#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <iterator>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "support/sweep_stride.h"
#include "unit/virtual_instrument/bench/units_of_benches.h"
#include "unit/virtual_instrument/measurement/three_phase_measuring.h"
#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/equivalent_circuit.h"

// A tertiary that is led out: each pair of windings against the nameplate, against the circuit on
// paper, and against the other pairs.

namespace virtual_instrument {
namespace {

constexpr WindingPair kEachPair[] = {WindingPair::h_x, WindingPair::h_y, WindingPair::x_y};

Bench three_winding_bench(const std::string& text) {
  BenchReading reading = read_bench(text, "b.toml", built_in_bench());
  EXPECT_EQ(reading.problems, std::vector<std::string>{}) << text;
  reading.bench.measurement.noise = 0;
  return reading.bench;
}

struct Groups {
  const char* vector_group;
  const char* third;
};

/// Each pair of windings, with and without limbs of other letters.
constexpr Groups kThreeWindings[] = {
    {"YNyn0", "d11"}, {"YNyn0", "yn6"}, {"YNyn4", "d1"}, {"YNd1", "yn0"}, {"YNd11", "d1"},
    {"Dyn11", "yn1"}, {"Dyn1", "d0"},   {"Dyn5", "d6"},  {"Dd0", "yn7"},  {"Yy6", "d5"},
    {"YNd3", "y10"},  {"YNzn1", "yn8"}, {"Zzn0", "y1"},  {"Dzn6", "d4"}};

/// 1000/400/100 V, 50 Hz.
std::string text_of(const Groups& groups, const std::string& more_of_transformer = "",
                    const std::string& more_of_tertiary = "") {
  return "[transformer]\nvector_group = \"" + std::string(groups.vector_group) +
         "\"\nhigh_voltage = 1000\nlow_voltage = 400\nkva = 10\nfrequency = 50\n"
         "high_resistance = 0.5\nhigh_reactance = 1.5\nlow_resistance = 0.08\n"
         "low_reactance = 0.2\ncore_resistance = 20000\nmagnetizing_reactance = 10000\n"
         "saturated_reactance = 8\n" +
         more_of_transformer + "[tertiary]\ngroup = \"" + groups.third +
         "\"\nvoltage = 100\nresistance = 0.02\nreactance = 0.06\n" + more_of_tertiary;
}

/// Linear, with hardly any exciting current.
const std::string kIdealCore =
    "saturation = false\ncore_resistance = 1e7\nmagnetizing_reactance = 1e7\n";

std::string without_core(const Groups& groups) {
  std::string text = text_of(groups);
  const std::size_t core = text.find("core_resistance");
  return text.replace(core, text.find("[tertiary]") - core, kIdealCore);
}

std::string words(const Groups& groups, WindingPair pair) {
  return std::string(groups.vector_group) + groups.third + " " + winding_letter(pair, Side::high) +
         winding_letter(pair, Side::low);
}

TEST(ThreeWindings, EachPairHasTheRatioAndTheClockOfTheNameplate) {
  constexpr double kVolts[] = {1000, 400, 100};
  for (const Groups& groups : kThreeWindings) {
    const Bench bench = three_winding_bench(without_core(groups));
    const int clocks[] = {parse_group(groups.vector_group)->clock,
                          *bench.tertiary.connection.clock};
    for (const WindingPair pair : kEachPair) {
      const TransformerUnit unit = make_unit(bench, pair);
      kvr_Ratio3phRequest request{};
      request.setup = nameplate_setup(unit);
      request.setup.connections[request.setup.connection_type].clock = kClockUnknown;
      request.testing_mode = KVR_TESTING_MODE_3PH_3_3;
      request.test_type = KVR_TEST_RATIO_DOWN;
      request.tested_phase = kAllPhases;
      request.test_voltage = 100;
      ASSERT_EQ(check_three_phase_ratio(request, bench), KVR_RES_OK);
      for (const kvr_TestingMode mode : {KVR_TESTING_MODE_3PH_3_3, KVR_TESTING_MODE_3PH_1_1}) {
        request.testing_mode = mode;
        const ThreePhaseRatio test = measure_three_phase_ratio(unit, request, bench, 1);
        ASSERT_EQ(test.code, KVR_RES_OK) << words(groups, pair);
        const double ratio =
            kVolts[winding_index(pair, Side::high)] / kVolts[winding_index(pair, Side::low)];
        EXPECT_DOUBLE_EQ(test.data.reference_ratio, ratio);
        const int clock = pair == WindingPair::h_x   ? clocks[0]
                          : pair == WindingPair::h_y ? clocks[1]
                                                     : (clocks[1] - clocks[0] + 12) % 12;
        EXPECT_EQ(unit.group.clock, clock) << words(groups, pair);
        const double degrees = test.data.phase_3ph * 180 / std::numbers::pi;
        EXPECT_NEAR(std::remainder(degrees - 30 * clock, 360), 0, 0.01) << words(groups, pair);
        for (const kvr_TestData_Ratio_Phase& phase : test.data.phases) {
          EXPECT_NEAR(phase.tvr, ratio, 1e-4 * ratio) << words(groups, pair) << " mode " << mode;
          EXPECT_EQ(phase.high_side_phase[0], winding_letter(pair, Side::high));
          EXPECT_EQ(phase.low_side_phase[0], winding_letter(pair, Side::low));
          EXPECT_EQ(phase.tvr_low[0], winding_letter(pair, Side::low));
        }
      }
    }
  }
}

/// A winding has a place in two pairs.
struct Place {
  WindingPair pair;
  Side side;
};

constexpr std::pair<Place, Place> kPlaces[] = {
    {{WindingPair::h_x, Side::high}, {WindingPair::h_y, Side::high}},
    {{WindingPair::h_x, Side::low}, {WindingPair::x_y, Side::high}},
    {{WindingPair::h_y, Side::low}, {WindingPair::x_y, Side::low}},
};

/// Currents, with their harmonics, between each two lines of a winding while all else is open.
std::vector<Complex> currents_between_lines(const Bench& bench, const Place& place) {
  const TransformerUnit unit = make_unit(bench, place.pair);
  const Network network = unit_network(unit, 1e15);
  std::vector<Complex> currents;
  for (const TerminalPair& lines : terminal_pairs(KVR_WINDING_D)) {
    const PeriodicState state = solve_network(
        network, pair_sources(place.side, lines, unit.rated_voltage[place.side]), unit.frequency);
    for (const std::size_t harmonic : {1U, 3U, 5U}) {
      currents.push_back(state.source_current[0][harmonic]);
    }
  }
  return currents;
}

void expect_same_currents(const Bench& bench, const Groups& groups) {
  for (const auto& [one, other] : kPlaces) {
    const auto first = currents_between_lines(bench, one);
    const auto second = currents_between_lines(bench, other);
    for (std::size_t i = 0; i < first.size(); ++i) {
      EXPECT_LT(std::abs(first[i] - second[i]), 1e-4 * std::abs(first[i / 3 * 3]))
          << words(groups, one.pair) << " and " << words(groups, other.pair) << ", number " << i
          << ": " << first[i] << " " << second[i];
    }
  }
}

/// The core, the limbs and what the third winding does are the same whatever is measured. All
/// groups take a while: KVR_SWEEP_STRIDE=1.
TEST(ThreeWindings, AWindingDrawsTheSameCurrentInBothOfItsPairs) {
  for (std::size_t i = 0; i < std::size(kThreeWindings); i += sweep_stride(3)) {
    const Groups& groups = kThreeWindings[i];
    expect_same_currents(
        three_winding_bench(text_of(groups, "residual_flux = [0.4, -0.3, -0.1]\n")), groups);
  }
}

TEST(ThreeWindings, ADefectShowsInEveryPair) {
  for (const char* const winding : {"HA", "XB", "YC"}) {
    for (const Groups& groups : {kThreeWindings[0], kThreeWindings[5], kThreeWindings[6]}) {
      expect_same_currents(
          three_winding_bench(text_of(groups, "turns_deviation = 3\n", "turns_deviation = -2\n") +
                              "[[shorted_turns]]\nwinding = \"" + winding +
                              "\"\nshare = 3\nresistance = 0.01\n" +
                              "[taps]\nfirst = 1\nlast = 5\nmiddle = 3\nposition = 5\nstep = 2\n"),
          groups);
    }
  }
  // A delta with one winding reversed carries current as soon as that limb has flux, and forces
  // flux through the third limb. The second pair of lines, the fourth of the currents, excites A
  // and B.
  const std::string delta = text_of({"YNyn0", "d11"}, "saturation = false\n");
  const Bench reversed = three_winding_bench(delta + "[leads]\nreversed = [\"YB\"]\n");
  const double healthy =
      std::abs(currents_between_lines(three_winding_bench(delta), kPlaces[0].first)[3]);
  EXPECT_GT(std::abs(currents_between_lines(reversed, kPlaces[0].first)[3]), 3 * healthy);
}

TEST(ThreeWindings, TheTurnsOfEachDeviateOnTheirOwn) {
  const Bench bench = three_winding_bench(
      text_of({"YNyn0", "yn0"}, "turns_deviation = 3\n", "turns_deviation = -2\n") +
      "[taps]\nfirst = 1\nlast = 3\nmiddle = 2\nposition = 3\nstep = 5\n");
  EXPECT_NEAR(turns_ratio(make_unit(bench, WindingPair::h_x)), 2.5 * 1.03 * 1.05, 1e-9);
  EXPECT_NEAR(turns_ratio(make_unit(bench, WindingPair::h_y)), 10 * 0.98 * 1.05, 1e-9);
  EXPECT_NEAR(turns_ratio(make_unit(bench, WindingPair::x_y)), 4 * 0.98 / 1.03, 1e-9);
}

TEST(ThreeWindings, TapsGoWithTheirWinding) {
  const std::string taps =
      "[taps]\ntype = \"OLTC\"\nlast = 3\nmiddle = 2\nposition = 3\nstep = 5\nside = ";
  const auto types = [&](const char* side) {
    std::string text;
    for (const WindingPair pair : kEachPair) {
      const Bench bench = three_winding_bench(text_of({"YNyn0", "yn0"}) + taps + side + "\n");
      for (const kvr_WindingSetup& winding : nameplate_setup(make_unit(bench, pair)).windings) {
        text += winding.tap_changer == KVR_TAP_CHANGER_OLTC ? "T" : "-";
      }
      text += " ";
    }
    return text;
  };
  EXPECT_EQ(types("\"high\""), "T-- T-- --- ");
  EXPECT_EQ(types("\"low\""), "-T- --- -T- ");

  const Bench on_low = three_winding_bench(text_of({"YNyn0", "yn0"}) + taps + "\"low\"\n");
  const TapChanger none = make_unit(on_low, WindingPair::h_y).taps;
  EXPECT_EQ(none.first, 1);
  EXPECT_EQ(none.last, 1);
  EXPECT_EQ(none.middle, 1);
  EXPECT_EQ(none.position, 1);
}

/// What residual flux is left in the core is the same share of the flux at rated voltage of H.
TEST(ThreeWindings, ResidualFluxIsThatOfTheCore) {
  const Bench bench =
      three_winding_bench(text_of({"YNyn0", "d11"}, "turns_deviation = 10\nresidual_flux = 0.5\n"));
  for (const WindingPair pair : kEachPair) {
    const TransformerUnit unit = make_unit(bench, pair);
    EXPECT_NEAR(unit.core.residual_flux[0] / rated_core_flux(unit), 0.5, 1e-12);
    const double voltage = unit.rated_voltage[Side::high] / std::numbers::sqrt3;
    const double deviation = pair == WindingPair::x_y ? 1.1 : 1;
    EXPECT_NEAR(rated_core_flux(unit),
                voltage * std::numbers::sqrt2 / (100 * std::numbers::pi) / deviation, 1e-9);
  }
}

/// Positive-sequence impedance in ohm of a phase of the high side, with the lines of the low one
/// joined.
Complex short_circuit_impedance(const TransformerUnit& unit) {
  Network network = unit_network(unit, 1e15);
  join_lines(network, unit, Side::low);
  const PeriodicState state = solve_network(network, pair_sources(Side::high, {1, 2}, 10), 50);
  return terminal_voltage(state, Side::high, {1, 2})[1] / state.source_current[0][1] / 2.0;
}

/// An equivalent star: each pair has the impedances of its two windings and nothing of the third.
TEST(ThreeWindings, TheImpedanceOfAPairIsThatOfItsTwoWindings) {
  const auto star_of = [](const char* group, Complex z) {
    return std::string(group).starts_with("d") || std::string(group).starts_with("D") ? z / 3.0 : z;
  };
  for (const Groups& groups :
       {Groups{"YNyn0", "d11"}, Groups{"YNyn0", "yn0"}, Groups{"Dyn11", "d0"}}) {
    const Bench bench = three_winding_bench(without_core(groups));
    const Complex h = star_of(groups.vector_group, {0.5, 1.5});
    const Complex x = Complex(0.08, 0.2);
    const Complex y = star_of(groups.third, {0.02, 0.06});
    const double ratio_hx = 2.5;
    const double ratio_hy = 10;
    const double ratio_xy = 4;
    const auto expect = [&](WindingPair pair, Complex expected) {
      const Complex seen = short_circuit_impedance(make_unit(bench, pair));
      EXPECT_LT(std::abs(seen - expected), 1e-4 * std::abs(expected))
          << words(groups, pair) << " " << seen << " " << expected;
    };
    expect(WindingPair::h_x, h + ratio_hx * ratio_hx * x);
    expect(WindingPair::h_y, h + ratio_hy * ratio_hy * y);
    expect(WindingPair::x_y, x + ratio_xy * ratio_xy * y);
  }
}

TEST(ThreeWindings, PercentsOfAPairAreOfThePowerOfTheTertiary) {
  const Bench bench = three_winding_bench(without_core({"YNyn0", "yn0"}) +
                                          "kva = 4\nhigh_impedance = 5\nlow_impedance = 3\n");
  const double base[] = {100, 250, 40};  // ohm, of 10, 4 and 4 kVA
  const Complex z[] = {{1, 2.75}, {2.5, 7.5}, {0.4, 1.16}};
  const float nameplate[] = {4.5F, 5, 3};
  FamilySettings settings = family_settings(50);
  settings.corrected_to = 20;
  for (std::size_t pair = 0; pair < 3; ++pair) {
    TransformerUnit unit = make_unit(bench, kEachPair[pair]);
    if (pair == 0) {
      unit.impedance_percent = nameplate[0];
    }
    const ImpedanceTest test = short_circuit_impedance_test(unit, settings);
    const double percent = std::abs(z[pair]) / base[pair] * 100;
    EXPECT_NEAR(test.tests[0].avg_z_percent, percent, 1e-3 * percent);
    EXPECT_NEAR(test.tests[0].phases[0].z_percent_error,
                (percent / static_cast<double>(nameplate[pair]) - 1) * 100, 0.1);
    EXPECT_STREQ(test.tests[0].phases[0].low_side_phase, pair == 0 ? "X1-X2-X3" : "Y1-Y2-Y3");
  }
}

/// In ohm, the three terminals of the high side joined, against its neutral.
Complex impedance_to_neutral(const TransformerUnit& unit) {
  std::vector<VoltageSource> sources;
  for (int terminal = 1; terminal <= 3; ++terminal) {
    sources.push_back({terminal_node(Side::high, terminal), 1});
  }
  sources.push_back({terminal_node(Side::high, 0), 0});
  return 1.0 / solve_network(unit_network(unit, 1e15), sources, 50).source_current[0][1];
}

TEST(ThreeWindings, AnOpenDeltaClosesTheZeroSequenceAndAnOpenStarDoesNot) {
  const auto impedance = [](const Groups& groups, WindingPair pair) {
    std::string text = without_core(groups);
    return impedance_to_neutral(make_unit(
        three_winding_bench(text.insert(text.find('\n') + 1, "core_form = \"bank\"\n")), pair));
  };
  const auto expect_near = [](Complex seen, Complex expected) {
    EXPECT_LT(std::abs(seen - expected), 1e-4 * std::abs(expected)) << seen << " " << expected;
  };
  const double square = 100.0 / 3;  // of the turns of H to those of the delta
  const Complex y = square * Complex(0.02, 0.06);
  expect_near(impedance({"YNyn0", "d11"}, WindingPair::h_x), Complex(0.5, 1.5) + y);
  expect_near(impedance({"YNyn0", "d11"}, WindingPair::x_y),
              Complex(0.08, 0.2) + 16.0 / 3 * Complex(0.02, 0.06));
  expect_near(impedance({"YNd1", "yn0"}, WindingPair::h_y),
              Complex(0.5, 1.5) + 6.25 / 3 * Complex(0.08, 0.2));
  for (const WindingPair pair : kEachPair) {
    EXPECT_GT(std::abs(impedance({"YNyn0", "yn0"}, pair)), 1e5);
  }
}

TEST(ThreeWindings, ASetupHasThePairOfItsTest) {
  const Bench bench = three_winding_bench(text_of({"YNd1", "yn0"}) + "kva = 4\n");
  const auto described = [&bench](WindingPair pair) {
    const kvr_TestSetup setup = nameplate_setup(make_unit(bench, pair));
    std::string text = std::to_string(setup.connection_type) + ":";
    for (const kvr_WindingSetup& winding : setup.windings) {
      text += " " + std::to_string(winding.winding_type) + "/" +
              std::to_string(std::lround(winding.voltage)) + "/" +
              std::to_string(std::lround(winding.current * 10)) + "/" +
              std::to_string(winding.winding_setting);
    }
    for (const kvr_ConnectionSetup& connection : setup.connections) {
      text += " " + std::to_string(connection.clock) + "/" +
              std::to_string(std::lround(connection.kva));
    }
    return text;
  };
  const auto type = [](kvr_WindingType winding) { return std::to_string(winding); };
  const std::string h = " " + type(KVR_WINDING_YN) + "/1000/";
  const std::string x = " " + type(KVR_WINDING_D) + "/400/";
  const std::string y = " " + type(KVR_WINDING_YN) + "/100/231/1";
  const std::string none = " 0/0/0/1";
  EXPECT_EQ(described(WindingPair::h_x), "0:" + h + "58/1" + x + "144/1" + none + " 1/10 0/0 0/0");
  EXPECT_EQ(described(WindingPair::h_y), "1:" + h + "23/1" + none + y + " 0/0 0/4 0/0");
  EXPECT_EQ(described(WindingPair::x_y), "2:" + none + x + "58/1" + y + " 0/0 0/0 11/4");
}

TEST(ThreeWindings, ResistancesStandUnderTheirWinding) {
  const Bench bench = three_winding_bench(text_of({"YNyn0", "d11"}));
  const auto found = [&bench](WindingPair pair) {
    std::string text;
    for (const auto& side : resistance_test(make_unit(bench, pair), family_settings(50)).sides) {
      text += side.empty() ? "- "
                           : side[0].points[0].data.name + std::string("=") +
                                 std::to_string(std::lround(side[0].points[0].data.rm * 1e4)) + " ";
    }
    return text;
  };
  EXPECT_EQ(found(WindingPair::h_x), "H1-H0=5000 X1-X0=800 - ");
  EXPECT_EQ(found(WindingPair::h_y), "H1-H0=5000 - Y1-Y3=133 ");
  EXPECT_EQ(found(WindingPair::x_y), "- X1-X0=800 Y1-Y3=133 ");
}

TEST(ThreeWindings, AnOpenLeadHasTheCodeOfItsWinding) {
  const auto codes = [](const char* lead) {
    const Bench bench =
        three_winding_bench(text_of({"YNyn0", "d11"}) + "[leads]\nopen = [\"" + lead + "\"]\n");
    std::vector<kvr_code> found;
    for (const WindingPair pair : kEachPair) {
      found.push_back(
          go_no_go_test(make_unit(bench, pair), family_settings(50)).status_open_circuit);
    }
    return found;
  };
  EXPECT_THAT(codes("H2"),
              testing::ElementsAre(KVR_RES_OPEN_CIRCUIT_H, KVR_RES_OPEN_CIRCUIT_H, KVR_RES_OK));
  EXPECT_THAT(codes("X2"),
              testing::ElementsAre(KVR_RES_OPEN_CIRCUIT_X, KVR_RES_OK, KVR_RES_OPEN_CIRCUIT_X));
  EXPECT_THAT(codes("Y2"), testing::ElementsAre(KVR_RES_OK, KVR_RES_OPEN_LEAD, KVR_RES_OPEN_LEAD));
}

TEST(ThreeWindings, WhatIsNotLedOutIsNoPair) {
  for (const char* const text : {"", "[tertiary]\nvoltage = 100\n"}) {
    const Bench bench = three_winding_bench(text);
    EXPECT_TRUE(has_pair(bench, WindingPair::h_x));
    EXPECT_FALSE(has_pair(bench, WindingPair::h_y));
    EXPECT_FALSE(has_pair(bench, WindingPair::x_y));
    EXPECT_TRUE(make_unit(bench).loops.empty());
  }
}

TEST(ThreeWindings, ABenchThatContradictsItselfIsRefused) {
  const auto problem = [](const std::string& text) {
    const BenchReading reading = read_bench(text, "b.toml", built_in_bench());
    EXPECT_EQ(reading.problems.size(), 1U) << text;
    return reading.problems.empty() ? "" : reading.problems.front();
  };
  const std::string led_out = "[tertiary]\ngroup = \"yn0\"\nvoltage = 100\n";
  const std::string clock =
      "expected of a tertiary that is led out a voltage, and a clock number that its windings and "
      "those of the high side can have";
  EXPECT_EQ(problem("[tertiary]\ngroup = \"d1\"\n"), "b.toml:2: tertiary.group: " + clock);
  EXPECT_EQ(problem("[tertiary]\ngroup = \"d0\"\nvoltage = 1\n"),
            "b.toml:2: tertiary.group: " + clock);
  EXPECT_EQ(
      problem(led_out + "[transformer]\nautotransformer = true\n"),
      "b.toml:2: tertiary.group: expected no autotransformer with a tertiary that is led out");
  EXPECT_EQ(problem(led_out + "[burden]\nreactance = 1\n"),
            "b.toml:2: tertiary.group: expected no burden with a tertiary that is led out");
  const std::string alone =
      ": expected leads and windings of Y with a tertiary that is led out alone";
  EXPECT_EQ(problem("[leads]\nopen = [\"Y1\"]\n"), "b.toml:2: leads.open" + alone);
  EXPECT_EQ(problem("[leads]\nreversed = [\"YA\"]\n"), "b.toml:2: leads.reversed" + alone);
  EXPECT_EQ(problem("[[shorted_turns]]\nwinding = \"YA\"\nshare = 1\nresistance = 1\n"),
            "b.toml:1: shorted_turns" + alone);
  EXPECT_EQ(problem(led_out + "[[shorted_turns]]\nwinding = \"YA\"\nshare = 50\nresistance = 1\n" +
                    "[[shorted_turns]]\nwinding = \"YA\"\nshare = 50\nresistance = 1\n"),
            "b.toml:4: shorted_turns: expected at most 90 percent of a winding in all");
  for (const char* const group :
       {"\"z0\"", "\"zn11\"", "\"Nd1\"", "\"d12\"", "\"\"", "\"y\"", "1"}) {
    EXPECT_THAT(problem("[tertiary]\nvoltage = 1\ngroup = " + std::string(group) + "\n"),
                testing::StartsWith("b.toml:3: tertiary.group: expected d for a delta inside"));
  }
}

}  // namespace
}  // namespace virtual_instrument

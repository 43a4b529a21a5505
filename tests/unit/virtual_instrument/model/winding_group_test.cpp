#include "virtual_instrument/model/winding_group.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace virtual_instrument {
namespace {

const std::array<Complex, 3> kBalanced = {1, phasor_at(-1.0 / 3), phasor_at(1.0 / 3)};

WindingGroup group(kvr_WindingType high, kvr_WindingType low, int clock) {
  return {high, low, clock};
}

TEST(WindingGroup, EachPairOfWindingsHasSixClocks) {
  const std::vector<WindingGroup> groups = three_phase_groups();
  EXPECT_EQ(groups.size(), 25U * 6U);
  std::set<std::string> names;
  for (const WindingGroup& each : groups) {
    EXPECT_TRUE(exists(each)) << group_name(each);
    names.insert(group_name(each));
  }
  EXPECT_EQ(names.size(), groups.size());
  for (const char* name : {"Dyn11", "Dyn1", "Yd1", "YNd11", "Dd0", "Yyn0", "YNyn6", "Dz0", "Yzn11",
                           "ZNyn11", "Zd6", "Zzn4"}) {
    EXPECT_TRUE(names.contains(name)) << name;
  }
}

TEST(WindingGroup, OddAndEvenClocksDoNotMix) {
  EXPECT_FALSE(exists(group(KVR_WINDING_D, KVR_WINDING_Y, 0)));
  EXPECT_FALSE(exists(group(KVR_WINDING_D, KVR_WINDING_D, 1)));
  EXPECT_FALSE(exists(group(KVR_WINDING_YN, KVR_WINDING_ZN, 6)));
  EXPECT_FALSE(exists(group(KVR_WINDING_Z, KVR_WINDING_D, 11)));
  EXPECT_FALSE(exists(group(KVR_WINDING_Y, KVR_WINDING_Y, 12)));
  EXPECT_FALSE(exists(group(KVR_WINDING_Y, KVR_WINDING_Y, -2)));
  EXPECT_FALSE(exists(group(KVR_WINDING_Y, KVR_WINDING_1P, 0)));
  EXPECT_FALSE(exists(group(KVR_WINDING_UNDEFINED, KVR_WINDING_UNDEFINED, 0)));
}

TEST(WindingGroup, SinglePhaseWindingsAreAlikeOrOpposite) {
  EXPECT_TRUE(exists(group(KVR_WINDING_1P, KVR_WINDING_1P, 0)));
  EXPECT_TRUE(exists(group(KVR_WINDING_1P, KVR_WINDING_1P, 6)));
  EXPECT_FALSE(exists(group(KVR_WINDING_1P, KVR_WINDING_1P, 3)));
  EXPECT_EQ(phase_windings(group(KVR_WINDING_1P, KVR_WINDING_1P, 6))[Side::low].front().turns[0],
            -1);
}

TEST(WindingGroup, TheLowSideLagsByTheClock) {
  for (const WindingGroup& each : three_phase_groups()) {
    const auto windings = phase_windings(each);
    ASSERT_EQ(windings[Side::low].size(), 3U) << group_name(each);
    const auto high = line_phasors(windings[Side::high], kBalanced);
    const auto low = line_phasors(windings[Side::low], kBalanced);
    for (std::size_t line = 0; line < 3; ++line) {
      const double lag = degrees(angle(high[line] * std::conj(low[line])));
      EXPECT_NEAR(std::remainder(lag - 30 * each.clock, 360), 0, 1e-9)
          << group_name(each) << " line " << line;
    }
  }
}

TEST(WindingGroup, WindingsOfOneLetterShareALimbWhereverTheGroupAllowsIt) {
  std::string apart;
  for (const WindingGroup& each : three_phase_groups()) {
    const auto windings = phase_windings(each);
    bool shared = true;
    for (std::size_t phase = 0; phase < 3; ++phase) {
      const int letter = static_cast<int>(phase);
      EXPECT_EQ(windings[Side::high][phase].terminals.plus, letter + 1);
      EXPECT_EQ(windings[Side::high][phase].limb, letter);
      EXPECT_EQ(windings[Side::low][phase].terminals.plus, letter + 1);
      shared = shared && windings[Side::low][phase].limb == letter;
    }
    apart += shared ? "" : group_name(each) + " ";
  }
  // Between two stars, clocks of 60 and 120 degrees need lines that change places; between a star
  // and another winding, those of 90 degrees do.
  EXPECT_EQ(apart,
            "Dy3 Dy9 Dyn3 Dyn9 Yd3 Yd9 Yy2 Yy4 Yy8 Yy10 Yyn2 Yyn4 Yyn8 Yyn10 Yz3 Yz9 Yzn3 Yzn9 "
            "YNd3 YNd9 YNy2 YNy4 YNy8 YNy10 YNyn2 YNyn4 YNyn8 YNyn10 YNz3 YNz9 YNzn3 YNzn9 "
            "Zy3 Zy9 Zyn3 Zyn9 ZNy3 ZNy9 ZNyn3 ZNyn9 ");
}

TEST(WindingGroup, ADeltaGoesTheWayThatPutsItsLettersOnTheLimbsOfTheStar) {
  const auto delta = [](const char* name, Side side) {
    const auto windings = phase_windings(parse_group(name).value());
    std::string pairs;
    for (const PhaseWinding& winding : windings[side]) {
      pairs += pair_name(side, winding.terminals) + " ";
    }
    return pairs;
  };
  EXPECT_EQ(delta("Dyn11", Side::high), "H1-H2 H2-H3 H3-H1 ");
  EXPECT_EQ(delta("Dyn5", Side::high), "H1-H2 H2-H3 H3-H1 ");
  EXPECT_EQ(delta("Dyn1", Side::high), "H1-H3 H2-H1 H3-H2 ");
  EXPECT_EQ(delta("YNd1", Side::low), "X1-X2 X2-X3 X3-X1 ");
  EXPECT_EQ(delta("YNd11", Side::low), "X1-X3 X2-X1 X3-X2 ");
}

// So that a defect of a limb shows in the windings of its letter.
TEST(WindingGroup, AThirdWindingSharesTheLimbsOfTheFirstWhereItCan) {
  const auto delta_to_star = [](int clock) {
    const auto star = phase_windings(parse_group("YNyn0").value())[Side::high];
    std::string found;
    for (const PhaseWinding& winding : third_windings(star, KVR_WINDING_D, clock)) {
      found += std::to_string(winding.limb) + ":" + pair_name(Side::low, winding.terminals) + " ";
    }
    return found;
  };
  EXPECT_EQ(delta_to_star(1), "0:X1-X2 1:X2-X3 2:X3-X1 ");
  EXPECT_EQ(delta_to_star(5), "0:X1-X3 1:X2-X1 2:X3-X2 ");
  EXPECT_EQ(delta_to_star(7), "0:X1-X2 1:X2-X3 2:X3-X1 ");
  EXPECT_EQ(delta_to_star(11), "0:X1-X3 1:X2-X1 2:X3-X2 ");
  EXPECT_EQ(delta_to_star(0), "");
}

TEST(WindingGroup, AGroupThatNoWindingsMakeHasAHighSideAlone) {
  const auto windings = phase_windings(group(KVR_WINDING_D, KVR_WINDING_D, 1));
  std::string limbs;
  for (const PhaseWinding& winding : windings[Side::high]) {
    limbs += std::to_string(winding.limb);
  }
  EXPECT_EQ(limbs, "012");
  EXPECT_TRUE(windings[Side::low].empty());
}

TEST(WindingGroup, LineVoltageOfAWinding) {
  EXPECT_NEAR(line_voltage_factor(KVR_WINDING_D), 1, 1e-12);
  EXPECT_NEAR(line_voltage_factor(KVR_WINDING_Y), std::sqrt(3.0), 1e-12);
  EXPECT_NEAR(line_voltage_factor(KVR_WINDING_YN), std::sqrt(3.0), 1e-12);
  EXPECT_NEAR(line_voltage_factor(KVR_WINDING_Z), 1.5, 1e-12);
  EXPECT_NEAR(line_voltage_factor(KVR_WINDING_ZN), 1.5, 1e-12);
  EXPECT_EQ(line_voltage_factor(KVR_WINDING_1P), 1);
}

TEST(WindingGroup, TurnsRatioOfLineVoltages) {
  EXPECT_NEAR(11000.0 / 433 * turns_factor(group(KVR_WINDING_D, KVR_WINDING_YN, 11)), 44.0013,
              0.00005);
  EXPECT_NEAR(turns_factor(group(KVR_WINDING_Y, KVR_WINDING_D, 1)), 1 / std::sqrt(3.0), 1e-12);
  EXPECT_NEAR(turns_factor(group(KVR_WINDING_D, KVR_WINDING_ZN, 0)), 1.5, 1e-12);
  EXPECT_NEAR(turns_factor(group(KVR_WINDING_Y, KVR_WINDING_ZN, 5)), std::sqrt(3.0) / 2, 1e-12);
  EXPECT_NEAR(turns_factor(group(KVR_WINDING_ZN, KVR_WINDING_D, 6)), 1 / 1.5, 1e-12);
  EXPECT_NEAR(turns_factor(group(KVR_WINDING_YN, KVR_WINDING_YN, 0)), 1, 1e-12);
}

/// Voltage between two terminals for given limb voltages, from the windings themselves.
double between(const std::vector<PhaseWinding>& windings, TerminalPair pair,
               const std::array<double, 3>& limbs) {
  const auto turns = turns_between(windings, pair);
  return turns ? (*turns)[0] * limbs[0] + (*turns)[1] * limbs[1] + (*turns)[2] * limbs[2] : 0;
}

TEST(WindingGroup, APhaseIsTestedFreeOfWhereTheFluxReturns) {
  for (const WindingGroup& each : three_phase_groups()) {
    const auto windings = phase_windings(each);
    const auto phases = phase_connections(each);
    ASSERT_EQ(phases.size(), 3U);
    for (const PhaseConnection& phase : phases) {
      int fluxes = 0;
      for (int b = -4; b <= 4; ++b) {
        for (int a = -4; a <= 4; ++a) {
          const std::array<double, 3> limbs = {1.0 * a, 1.0 * b, -1.0 * (a + b)};
          const bool allowed =
              !phase.shorted || between(windings[phase.shorted_side], *phase.shorted, limbs) == 0;
          if (allowed) {
            const double high = between(windings[Side::high], phase.pairs[Side::high], limbs);
            const double low = between(windings[Side::low], phase.pairs[Side::low], limbs);
            EXPECT_NEAR(high, phase.ratio * low, 1e-9) << group_name(each);
            fluxes += std::abs(low) > 0.1 ? 1 : 0;
          }
        }
      }
      EXPECT_GE(fluxes, 2) << group_name(each);
    }
  }
}

struct NamedPairs {
  WindingGroup group;
  const char* high;
  const char* low;
  const char* shorted;
};

class PhaseA : public testing::TestWithParam<NamedPairs> {};

TEST_P(PhaseA, IsTestedBetweenItsTerminals) {
  const PhaseConnection phase = phase_connections(GetParam().group).front();
  EXPECT_EQ(pair_name(Side::high, phase.pairs[Side::high]), GetParam().high);
  EXPECT_EQ(pair_name(Side::low, phase.pairs[Side::low]), GetParam().low);
  EXPECT_EQ(phase.shorted ? pair_name(phase.shorted_side, *phase.shorted) : "", GetParam().shorted);
}

INSTANTIATE_TEST_SUITE_P(
    Groups, PhaseA,
    testing::Values(NamedPairs{{KVR_WINDING_D, KVR_WINDING_D, 0}, "H1-H3", "X1-X3", ""},
                    NamedPairs{{KVR_WINDING_D, KVR_WINDING_YN, 1}, "H1-H3", "X1-X0", ""},
                    NamedPairs{{KVR_WINDING_D, KVR_WINDING_YN, 5}, "H1-H3", "X3-X0", ""},
                    NamedPairs{{KVR_WINDING_D, KVR_WINDING_YN, 11}, "H1-H3", "X0-X3", ""},
                    NamedPairs{{KVR_WINDING_YN, KVR_WINDING_D, 1}, "H1-H0", "X1-X2", ""},
                    NamedPairs{{KVR_WINDING_YN, KVR_WINDING_D, 11}, "H1-H0", "X1-X3", ""},
                    NamedPairs{{KVR_WINDING_YN, KVR_WINDING_YN, 0}, "H1-H0", "X1-X0", ""},
                    NamedPairs{{KVR_WINDING_YN, KVR_WINDING_YN, 6}, "H1-H0", "X0-X1", ""},
                    NamedPairs{{KVR_WINDING_Y, KVR_WINDING_Y, 0}, "H1-H3", "X1-X3", ""},
                    NamedPairs{{KVR_WINDING_Y, KVR_WINDING_D, 11}, "H1-H3", "X1-X3", "X3-X2"},
                    NamedPairs{{KVR_WINDING_D, KVR_WINDING_Z, 0}, "H1-H3", "X1-X3", ""},
                    NamedPairs{{KVR_WINDING_1P, KVR_WINDING_1P, 6}, "H1-H2", "X2-X1", ""}));

/// A pair, one letter further for each step.
std::string advanced(Side side, TerminalPair pair, int steps) {
  const auto next = [steps](int terminal) {
    return terminal == 0 ? 0 : (terminal - 1 + steps) % 3 + 1;
  };
  return pair_name(side, {next(pair.plus), next(pair.minus)});
}

std::string text_of(const PhaseConnection& phase, int steps) {
  return advanced(Side::high, phase.pairs[Side::high], steps) + " " +
         advanced(Side::low, phase.pairs[Side::low], steps) +
         (phase.shorted ? " " + advanced(phase.shorted_side, *phase.shorted, steps) : "");
}

TEST(WindingGroup, AllPhasesAreTestedAlikeBetweenTerminalsOfTheirOwn) {
  for (const WindingGroup& each : three_phase_groups()) {
    const std::vector<PhaseConnection> phases = phase_connections(each);
    EXPECT_EQ(text_of(phases[1], 0), text_of(phases[0], 1)) << group_name(each);
    EXPECT_EQ(text_of(phases[2], 0), text_of(phases[0], 2)) << group_name(each);
    EXPECT_EQ(phases[1].ratio, phases[0].ratio) << group_name(each);
    EXPECT_EQ(phases[2].ratio, phases[0].ratio) << group_name(each);
  }
}

TEST(WindingGroup, NamesItsPairs) {
  EXPECT_EQ(pair_name(Side::high, {1, 3}), "H1-H3");
  EXPECT_EQ(pair_name(Side::low, {0, 2}), "X0-X2");
  EXPECT_EQ(group_name(group(KVR_WINDING_ZN, KVR_WINDING_YN, 11)), "ZNyn11");
  EXPECT_EQ(group_name(group(KVR_WINDING_1P, KVR_WINDING_1P, 0)), "1Ph0");
}

TEST(WindingGroup, HasNoTurnsBetweenTerminalsThatNoWindingJoins) {
  const auto windings = phase_windings(group(KVR_WINDING_D, KVR_WINDING_YN, 11));
  EXPECT_EQ(turns_between(windings[Side::high], {1, 0}), std::nullopt);
  EXPECT_EQ(turns_between({}, {1, 2}), std::nullopt);
  EXPECT_NE(turns_between(windings[Side::high], {3, 1}), std::nullopt);
}

}  // namespace
}  // namespace virtual_instrument

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/measurement/unit_waveforms.h"

// What a test engineer sees of the middle limb: exciting currents of which two are alike and one is
// lower, that of phase B.

namespace virtual_instrument {
namespace {

double current(const PeriodicState& state, std::size_t source) {
  return magnitude(state.source_current[source][1]);
}

/// The pairs of terminals whose voltage is that of one limb, the other two in parallel: lines of a
/// delta or a zigzag, lines to the neutral of a star.
std::vector<TerminalPair> pairs_of(kvr_WindingType type) {
  return type == KVR_WINDING_YN ? std::vector<TerminalPair>{{1, 0}, {2, 0}, {3, 0}}
                                : terminal_pairs(KVR_WINDING_D);
}

struct Excited {
  std::string name;
  double current;  ///< A, peak
};

/// One pair after the other; in a star without neutral, where no pair of terminals reaches a limb
/// alone, the lines of a three-phase source.
std::array<Excited, 3> exciting_currents(const TransformerUnit& unit, Side side) {
  const Network network = unit_network(unit, kInputResistance);
  const double volts = unit.rated_voltage[side] / 10;
  std::array<Excited, 3> result;
  if (winding_type(unit.group, side) == KVR_WINDING_Y) {
    const PeriodicState state =
        solve_network(network, balanced_sources(unit, side, volts), unit.frequency);
    for (std::size_t line = 0; line < 3; ++line) {
      result[line] = {terminal_name(side, static_cast<int>(line) + 1), current(state, line)};
    }
    return result;
  }
  const std::vector<TerminalPair> pairs = pairs_of(winding_type(unit.group, side));
  for (std::size_t pair = 0; pair < 3; ++pair) {
    const PairMeasurement measurement{side,           pairs[pair],      volts,
                                      unit.frequency, other_side(side), {1, 2}};
    result[pair] = {pair_name(side, pairs[pair]), current(excite_pair(network, measurement), 0)};
  }
  return result;
}

/// The lower one of three, if the others are alike and above it; else nothing.
std::string middle_of(std::array<Excited, 3> currents) {
  std::sort(currents.begin(), currents.end(),
            [](const Excited& a, const Excited& b) { return a.current < b.current; });
  const bool alike = currents[2].current < 1.001 * currents[1].current;
  const bool lower = currents[0].current < 0.95 * currents[1].current;
  return alike && lower ? currents[0].name : "";
}

/// What lies on the middle limb: of a zigzag, the pair of lines whose windings both have a half
/// there.
std::string expected_middle(const WindingGroup& group, Side side) {
  const kvr_WindingType type = winding_type(group, side);
  const auto windings = phase_windings(group)[side];
  if (is_zigzag(type)) {
    for (const TerminalPair& pair : terminal_pairs(KVR_WINDING_D)) {
      const auto turns = turns_between(windings, pair).value();
      if (turns[1] == 1 || turns[1] == -1) {
        return pair_name(side, pair);
      }
    }
  }
  for (const PhaseWinding& winding : windings) {
    if (winding.limb == 1) {
      const int plus = winding.terminals.plus;
      const int minus = winding.terminals.minus;
      return type == KVR_WINDING_Y    ? terminal_name(side, plus)
             : type == KVR_WINDING_YN ? pair_name(side, {plus, 0})
             : plus % 3 + 1 == minus  ? pair_name(side, {minus, plus})
                                      : pair_name(side, {plus, minus});
    }
  }
  return "none";
}

TEST(MiddleLimb, DrawsLessThanTheTwoThatAreAlikeInEveryGroupFromBothSides) {
  TransformerUnit unit = three_phase_unit();
  for (const WindingGroup& group : three_phase_groups()) {
    unit.group = group;
    for (const Side side : kSides) {
      EXPECT_EQ(middle_of(exciting_currents(unit, side)), expected_middle(group, side))
          << group_name(group);
    }
  }
}

TEST(MiddleLimb, CarriesTheWindingsOfPhaseB) {
  TransformerUnit unit = three_phase_unit();
  const auto middle = [&unit](const char* group, Side side) {
    unit.group = parse_group(group).value();
    return middle_of(exciting_currents(unit, side));
  };
  EXPECT_EQ(middle("Dyn11", Side::high), "H3-H2");
  EXPECT_EQ(middle("Dyn11", Side::low), "X2-X0");
  EXPECT_EQ(middle("Dyn5", Side::high), "H3-H2");
  EXPECT_EQ(middle("Dyn5", Side::low), "X2-X0");
  EXPECT_EQ(middle("Dyn1", Side::high), "H2-H1");
  EXPECT_EQ(middle("Dyn1", Side::low), "X2-X0");
  EXPECT_EQ(middle("YNd1", Side::high), "H2-H0");
  EXPECT_EQ(middle("YNd1", Side::low), "X3-X2");
  EXPECT_EQ(middle("YNd11", Side::low), "X2-X1");
}

}  // namespace
}  // namespace virtual_instrument

#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "api/enumerations.h"
#include "virtual_instrument/model/phasor.h"
#include "virtual_instrument/model/side.h"
#include "virtual_instrument/model/winding_pair.h"

// How the windings on the limbs of a core are joined to terminals. A terminal is a number from 0,
// the neutral, to 3; a limb a number from 0 to 2, also called A, B and C.

namespace virtual_instrument {

/// Two terminals of one side; their order gives the sign of the voltage between them.
struct TerminalPair {
  int plus;
  int minus;
  bool operator==(const TerminalPair&) const = default;
};

/// The winding between two terminals: turns on each limb, as fractions of a whole limb winding. A
/// zigzag winding has halves on two limbs.
struct PhaseWinding {
  TerminalPair terminals;
  std::array<double, 3> turns;
  int limb = 0;  ///< its own limb, where the first half of a zigzag winding lies
};

struct WindingGroup {
  kvr_WindingType high;
  kvr_WindingType low;
  int clock;  ///< 0 to 11: the low side lags by this many times 30 degrees
  bool operator==(const WindingGroup&) const = default;
};

kvr_WindingType winding_type(const WindingGroup& group, Side side);

/// Z or ZN: each phase winding has halves on two limbs.
bool is_zigzag(kvr_WindingType type);

/// D, Y, YN, Z or ZN.
bool is_three_phase(kvr_WindingType type);

/// Whether the winding has a neutral terminal.
bool has_neutral(kvr_WindingType type);

/// Whether such a group exists: each pair of three-phase windings has six clocks, even or odd ones;
/// a pair of single-phase windings has 0 and 6.
bool exists(const WindingGroup& group);

/// All three-phase groups that exist.
std::vector<WindingGroup> three_phase_groups();

/// As in "Dyn11".
std::string group_name(const WindingGroup& group);

/// The three-phase group of that name, or a single-phase unit: "Ii0", "Ii6" with its low side
/// reversed, "CT" or "PT". None for any other name.
std::optional<WindingGroup> parse_group(std::string_view name);

/// The phase windings of both sides: three on each side, or one in a single-phase unit. On the high
/// side, the winding of terminal H1, H2 or H3 is on limb A, B or C; on the low side too, wherever
/// the group allows it, so that phase B lies in the middle on both sides. REQUIRES: exists(group).
BySide<std::vector<PhaseWinding>> phase_windings(const WindingGroup& group);

/// The phase windings of a third winding whose clock against these of the high side is `clock`; on
/// the limb of the same letter wherever that allows it. REQUIRES: the group of the two exists.
std::vector<PhaseWinding> third_windings(const std::vector<PhaseWinding>& high,
                                         kvr_WindingType type, int clock);

/// Phasors of the terminals 1 to 3 against their mean, from the voltages induced in whole limb
/// windings.
std::array<Complex, 3> line_phasors(const std::vector<PhaseWinding>& windings,
                                    const std::array<Complex, 3>& limbs);

/// Line voltage of a three-phase winding in units of its limb winding's: 1 for D, the root of 3
/// for Y, 1.5 for Z. 1 for a single-phase winding.
double line_voltage_factor(kvr_WindingType type);

/// Turns ratio of whole limb windings in units of the ratio of line voltages.
double turns_factor(const WindingGroup& group);

/// As in "H1" and "X1-X0". `windings` are those of the two sides.
std::string terminal_name(Side side, int terminal, WindingPair windings = WindingPair::h_x);
std::string pair_name(Side side, TerminalPair pair, WindingPair windings = WindingPair::h_x);

/// Turns of a side between two terminals, by limb; none if no chain of windings joins them.
std::optional<std::array<double, 3>> turns_between(const std::vector<PhaseWinding>& windings,
                                                   TerminalPair pair);

/// The pairs of terminals of a side: lines first, in the order of the phases A, B, C of a delta,
/// then lines to neutral. One pair in a single-phase unit.
std::vector<TerminalPair> terminal_pairs(kvr_WindingType type);

/// How to test one phase with a single source: the ratio of the voltages between the `pairs` of the
/// two sides does not depend on how the core divides the flux among the limbs. If no two pairs have
/// that property, a third pair is shorted to get it.
struct PhaseConnection {
  BySide<TerminalPair> pairs;
  std::optional<TerminalPair> shorted;
  Side shorted_side;
  double ratio;  ///< |voltage of the high pair / of the low one| of whole limb windings of 1:1
};

/// One connection for each phase.
std::vector<PhaseConnection> phase_connections(const WindingGroup& group);

}  // namespace virtual_instrument

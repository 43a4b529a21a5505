#pragma once

#include <array>
#include <vector>

#include "api/request_records.h"
#include "virtual_instrument/model/winding_group.h"
#include "virtual_instrument/model/winding_network.h"

// A transformer under test: single-phase, or three-phase on a three-limb core.

namespace virtual_instrument {

/// The metal of windings. Its resistance, extrapolated linearly, vanishes at `zero` degrees C below
/// freezing (IEC 60076-1, IEEE C57.12.90).
struct Conductor {
  double zero;
};
inline constexpr Conductor kCopper{234.5};
inline constexpr Conductor kAluminium{225};

/// The limb windings of one side. They differ in nothing but their resistance.
struct LimbWinding {
  double resistance;          ///< ohm, direct current, at the reference temperature
  double leakage_inductance;  ///< H
  double stray_share;  ///< increase of resistance by stray eddies at rated frequency, a fraction
  std::array<double, 3> deviation{};  ///< of each limb's resistance, a fraction
};

struct TapChanger {
  kvr_TapChangerType type;
  int first;
  int last;
  int middle;                    ///< position of the rated voltage
  int position;                  ///< at present
  double step;                   ///< percent of the turns, added from one position to the next
  double transition_resistance;  ///< ohm, across the contacts while they move
  Side side = Side::high;
};

/// A third winding in delta that is not led out. It carries what the three limbs have in common:
/// zero-sequence current, and harmonics of multiples of three.
struct BuriedDelta {
  double turns = 0;  ///< of a limb winding, in units of the high side's; 0 without such a winding
  double resistance = 0;          ///< ohm, of each limb winding, at the reference temperature
  double leakage_inductance = 0;  ///< H, of each limb winding
};

/// Turns that touch each other and form a closed loop.
struct ShortedTurns {
  Side side;
  int limb;
  double fraction;        ///< of the limb winding's turns
  double resistance;      ///< ohm, of the contact
  bool on_third = false;  ///< of a bench: on the third winding, whatever the side
};

struct UnitFaults {
  BySide<std::array<bool, 4>> open_lead{};         ///< by side and terminal
  BySide<std::array<bool, 3>> reversed_winding{};  ///< by side and limb; of a zigzag, by phase
  /// Of a zigzag, by side, phase and half; the first half is on the limb of the phase's letter.
  BySide<std::array<std::array<bool, 2>, 3>> reversed_half{};
  std::vector<ShortedTurns> shorted_turns;
};

struct TransformerUnit {
  WindingGroup group;
  BySide<double> rated_voltage;  ///< V, from line to line
  double kva;
  double frequency;        ///< Hz, rated
  double turns_deviation;  ///< deviation of the turns ratio from the rated one, percent
  BySide<LimbWinding> windings;
  Conductor conductor = kCopper;
  double reference_temperature;  ///< degrees C
  double temperature;            ///< degrees C, present temperature of the windings
  double impedance_percent;      ///< on the nameplate; 0 if it has none
  TapChanger taps;
  Core core;           ///< seen from a limb winding of the high side, middle tap
  double capacitance;  ///< F, from each connected terminal to earth
  UnitFaults faults;
  /// The low side's winding is a part of the high side's, and the `windings` of the high side are
  /// those of the rest, the series winding.
  bool is_autotransformer = false;
  double winding_capacitance = 0;  ///< F, between terminals of the two sides with the same number
  BuriedDelta tertiary{};
  /// On each pair of the low side's terminals that has a phase voltage; none if both are 0.
  SeriesElement burden{};
  SeriesElement source{};               ///< of the instrument that feeds the unit
  WindingPair pair = WindingPair::h_x;  ///< the windings that are its two sides
  /// How the windings lie on the limbs; empty for what phase_windings() says of the group.
  BySide<std::vector<PhaseWinding>> arrangement{};
  /// Closed loops of a winding on neither side, at the present temperature of the windings. With
  /// direct current they change nothing.
  std::vector<Branch> loops{};
  /// Peak flux of a limb at the unit's rated voltage, as a multiple of rated_flux(): that of a pair
  /// may differ a little from it.
  double core_flux_factor = 1;
};

/// Whether there are autotransformers of this group: both sides in star, or of one phase, without a
/// phase shift.
bool can_be_autotransformer(const WindingGroup& group);

/// A node of the unit's network.
inline int terminal_node(Side side, int terminal) {
  return side == Side::high ? terminal : 4 + terminal;
}

/// How the windings of both sides lie on the limbs.
BySide<std::vector<PhaseWinding>> unit_windings(const TransformerUnit& unit);

/// What a side does while it stands open: the loop of its delta, and its shorted turns.
std::vector<Branch> open_loops(const TransformerUnit& unit, Side side);

/// Turns of a side in units of a limb winding of the high side, both at the middle tap.
double rated_relative_turns(const TransformerUnit& unit, Side side);

/// Turns of a limb winding of the high side to one of the low side, at the present tap.
double turns_ratio(const TransformerUnit& unit);

/// The same from the nameplate, at the middle tap.
double rated_turns_ratio(const TransformerUnit& unit);

/// Rated current of a side's lines, in A.
double rated_current(const TransformerUnit& unit, Side side);

/// Peak flux of a limb at rated voltage and frequency, in Vs.
double rated_flux(const TransformerUnit& unit);

/// The flux that is 1 per unit of a bench, as the core's winding links it, in Vs.
double rated_core_flux(const TransformerUnit& unit);

/// Factor by which resistance changes between two temperatures in degrees C.
double heating_factor(Conductor conductor, double from, double to);

/// The unit as a network of eight nodes, see terminal_node(). Each terminal whose lead makes
/// contact has an input of this resistance and the unit's capacitance to earth.
Network unit_network(const TransformerUnit& unit, double input_resistance);

/// A jumper between two terminals.
Branch jumper(Side side, TerminalPair pair);

/// Joins all lines of a side.
void join_lines(Network& network, const TransformerUnit& unit, Side side);

/// Whether a terminal exists outside the unit and its lead makes contact.
bool lead_connected(const TransformerUnit& unit, Side side, int terminal);

/// The part of a test setup that comes from the nameplate.
kvr_TestSetup nameplate_setup(const TransformerUnit& unit);

}  // namespace virtual_instrument

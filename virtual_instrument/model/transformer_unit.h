#pragma once

#include <array>
#include <vector>

#include "api/request_records.h"
#include "virtual_instrument/model/winding_group.h"
#include "virtual_instrument/model/winding_network.h"

// A transformer under test: single-phase, or three-phase on a three-limb core.

namespace virtual_instrument {

/// A limb winding of one side; all limbs are alike.
struct LimbWinding {
  double resistance;          ///< ohm, to direct current, at the reference temperature
  double leakage_inductance;  ///< H
  double
      stray_share;  ///< what stray eddies add to the resistance at rated frequency, as a fraction
};

struct TapChanger {
  kvr_TapChangerType type;
  int first;
  int last;
  int middle;                    ///< position of the rated voltage
  int position;                  ///< now
  double step;                   ///< percent of the turns, added from one position to the next
  double transition_resistance;  ///< ohm, bridging the contacts while they move
};

/// Turns that touch each other, and so form a closed loop.
struct ShortedTurns {
  int side;
  int limb;
  double fraction;    ///< of the limb winding's turns
  double resistance;  ///< ohm, of the contact
};

struct UnitFaults {
  std::array<std::array<bool, 4>, 2> open_lead{};         ///< by side and terminal
  std::array<std::array<bool, 3>, 2> reversed_winding{};  ///< by side and limb
  std::vector<ShortedTurns> shorted_turns;
};

struct TransformerUnit {
  WindingGroup group;
  std::array<double, 2> rated_voltage;  ///< V, from line to line
  double kva;
  double frequency;        ///< Hz, rated
  double turns_deviation;  ///< percent by which the turns ratio is off the rated one
  std::array<LimbWinding, 2> windings;
  double reference_temperature;  ///< degrees C
  double temperature;            ///< degrees C, of the windings now
  double impedance_percent;      ///< on the nameplate; 0 when it bears none
  TapChanger taps;               ///< of the high side
  Core core;                     ///< seen from a limb winding of the high side, middle tap
  double capacitance;            ///< F, from each connected terminal to earth
  UnitFaults faults;
};

/// A node of the unit's network.
inline int terminal_node(int side, int terminal) { return 4 * side + terminal; }

/// Turns of a limb winding of the high side to one of the low side, at the present tap.
double turns_ratio(const TransformerUnit& unit);

/// What the nameplate says of the same, at the middle tap.
double rated_turns_ratio(const TransformerUnit& unit);

/// Rated current of a side's lines, in A.
double rated_current(const TransformerUnit& unit, int side);

/// Peak flux of a limb at rated voltage and frequency, in Vs.
double rated_flux(const TransformerUnit& unit);

/// By how much copper's resistance grows from one temperature to another, both in degrees C.
double copper_factor(double from, double to);

/// The unit as a network of eight nodes, terminal_node() by terminal_node(). To each terminal whose
/// lead makes contact an input of this resistance is connected, and what capacitance is there.
Network unit_network(const TransformerUnit& unit, double input_resistance);

/// Whether a terminal exists outside the unit and its lead makes contact.
bool lead_connected(const TransformerUnit& unit, int side, int terminal);

/// The part of a test setup that the nameplate fills.
kvr_TestSetup nameplate_setup(const TransformerUnit& unit);

}  // namespace virtual_instrument

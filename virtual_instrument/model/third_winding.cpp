#include "virtual_instrument/model/third_winding.h"

#include <utility>

#include "virtual_instrument/model/core_network.h"

namespace virtual_instrument {
namespace {

constexpr TapChanger kNoTaps{KVR_TAP_CHANGER_NONE, 1, 1, 1, 1, 0, 0, Side::high};

/// What a side brings into a pair in which it stands on another side.
void take_side(TransformerUnit& pair, Side to, const TransformerUnit& unit, Side from) {
  pair.rated_voltage[to] = unit.rated_voltage[from];
  pair.windings[to] = unit.windings[from];
  pair.arrangement[to] = unit_windings(unit)[from];
  pair.faults.open_lead[to] = unit.faults.open_lead[from];
  pair.faults.reversed_winding[to] = unit.faults.reversed_winding[from];
  pair.faults.reversed_half[to] = unit.faults.reversed_half[from];
  for (ShortedTurns turns : unit.faults.shorted_turns) {
    if (turns.side == from) {
      turns.side = to;
      pair.faults.shorted_turns.push_back(turns);
    }
  }
  if (unit.taps.side == from) {
    pair.taps = unit.taps;
    pair.taps.side = to;
  }
}

/// The pair H-Y without the loops of X.
TransformerUnit high_and_third(const TransformerUnit& h_x, const ThirdWinding& third) {
  TransformerUnit unit = h_x;
  unit.pair = WindingPair::h_y;
  unit.group = {h_x.group.high, third.type, third.clock};
  unit.kva = third.kva;
  unit.turns_deviation = third.turns_deviation;
  unit.impedance_percent = third.impedance_percent_h;
  unit.winding_capacitance = 0;
  unit.taps = kNoTaps;
  unit.faults = third.faults;
  take_side(unit, Side::high, h_x, Side::high);
  unit.rated_voltage[Side::low] = third.rated_voltage;
  unit.windings[Side::low] = third.winding;
  unit.arrangement[Side::low] =
      third_windings(unit.arrangement[Side::high], third.type, third.clock);
  return unit;
}

/// The pair X-Y without the loops of H, its core as X sees it.
TransformerUnit low_and_third(const TransformerUnit& h_x, const TransformerUnit& h_y,
                              const ThirdWinding& third) {
  TransformerUnit unit = h_y;
  unit.pair = WindingPair::x_y;
  unit.group = {h_x.group.low, third.type, (third.clock - h_x.group.clock + 12) % 12};
  const double x_deviation = 1 + h_x.turns_deviation / 100;
  unit.turns_deviation = ((1 + third.turns_deviation / 100) / x_deviation - 1) * 100;
  unit.impedance_percent = third.impedance_percent_x;
  unit.taps = kNoTaps;
  unit.faults = third.faults;
  take_side(unit, Side::high, h_x, Side::low);
  refer_core(unit.core, rated_relative_turns(h_x, Side::low));
  unit.core_flux_factor = 1 / x_deviation;
  return unit;
}

std::vector<Branch> in_units_of(double turns, std::vector<Branch> loops) {
  for (Branch& loop : loops) {
    for (double& each : loop.turns) {
      each /= turns;
    }
  }
  return loops;
}

}  // namespace

TransformerUnit unit_of_pair(const TransformerUnit& h_x, const ThirdWinding& third,
                             WindingPair pair) {
  TransformerUnit h_y = high_and_third(h_x, third);
  if (pair == WindingPair::h_x) {
    TransformerUnit unit = h_x;
    unit.loops = open_loops(h_y, Side::low);
    return unit;
  }
  if (pair == WindingPair::h_y) {
    h_y.loops = open_loops(h_x, Side::low);
    return h_y;
  }
  TransformerUnit x_y = low_and_third(h_x, h_y, third);
  x_y.loops = in_units_of(rated_relative_turns(h_x, Side::low), open_loops(h_x, Side::high));
  return x_y;
}

}  // namespace virtual_instrument

#include "virtual_instrument/model/transformer_unit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

/// In ohm. Bolted: far below the windings of any low side.
constexpr double kJumperResistance = 1e-6;

/// Gives a terminal without a lead a defined potential.
constexpr double kInsulationConductance = 1e-11;

/// Turns of a side in units of a limb winding of the high side at the middle tap. `tap` is the
/// factor by which the present tap changes those of its side.
double side_turns(const TransformerUnit& unit, Side side, double tap) {
  const double tapped = side == unit.taps.side ? tap : 1;
  return side == Side::high ? tapped
                            : tapped / (rated_turns_ratio(unit) * (1 + unit.turns_deviation / 100));
}

double tap_factor(const TransformerUnit& unit) {
  return 1 + (unit.taps.position - unit.taps.middle) * unit.taps.step / 100;
}

double relative_turns(const TransformerUnit& unit, Side side) {
  return side_turns(unit, side, tap_factor(unit));
}

/// Turns of a side's own limb winding: of an autotransformer's high side, the series winding.
double winding_turns(const TransformerUnit& unit, Side side, double tap) {
  const bool is_series = unit.is_autotransformer && side == Side::high;
  return side_turns(unit, side, tap) - (is_series ? side_turns(unit, Side::low, tap) : 0);
}

/// The turns now, as a fraction of those at the middle tap.
double turns_in_use(const TransformerUnit& unit, Side side) {
  const bool is_series = unit.is_autotransformer && side == Side::high;
  if (!is_series) {
    return side == unit.taps.side ? tap_factor(unit) : 1;
  }
  return winding_turns(unit, side, tap_factor(unit)) / winding_turns(unit, side, 1);
}

Branch winding_branch(const TransformerUnit& unit, Side side, int limb, double turns) {
  const LimbWinding& winding = unit.windings[side];
  const double resistance = winding.resistance * (1 + winding.deviation[index(limb)]);
  const double omega = 2 * std::numbers::pi * unit.frequency;
  const double hot = heating_factor(unit.conductor, unit.reference_temperature, unit.temperature);
  Branch branch{};
  branch.resistance = resistance * hot * std::abs(turns);
  // The losses of eddy currents fall as the resistance of the metal rises with temperature.
  branch.eddy_resistance =
      resistance * winding.stray_share / (hot * omega * omega) * std::abs(turns);
  branch.inductance = winding.leakage_inductance * turns * turns;
  return branch;
}

/// Fraction of a limb winding's turns that lie outside its shorted ones.
double sound_part(const TransformerUnit& unit, Side side, int limb) {
  double part = 1;
  for (const ShortedTurns& fault : unit.faults.shorted_turns) {
    part -= fault.side == side && fault.limb == limb ? fault.fraction : 0;
  }
  return part;
}

/// 1, or -1 for turns whose ends are exchanged: `phase` is the index of their winding.
double direction(const TransformerUnit& unit, Side side, std::size_t phase,
                 const PhaseWinding& winding, int limb) {
  const bool zigzag = is_zigzag(winding_type(unit.group, side));
  const std::size_t half = limb == winding.limb ? 0 : 1;
  const bool whole = unit.faults.reversed_winding[side][zigzag ? phase : index(winding.limb)];
  const bool reversed_half = zigzag && unit.faults.reversed_half[side][phase][half];
  return whole != reversed_half ? -1 : 1;
}

void add_windings(Network& network, const TransformerUnit& unit, Side side,
                  const std::vector<PhaseWinding>& windings) {
  for (std::size_t phase = 0; phase < windings.size(); ++phase) {
    const PhaseWinding& winding = windings[phase];
    Branch branch = winding_branch(unit, side, winding.limb,
                                   turns_in_use(unit, side) * sound_part(unit, side, winding.limb));
    branch.from = terminal_node(side, winding.terminals.plus);
    branch.to = unit.is_autotransformer && side == Side::high
                    ? terminal_node(Side::low, winding.terminals.plus)
                    : terminal_node(side, winding.terminals.minus);
    for (int limb = 0; limb < 3; ++limb) {
      branch.turns[index(limb)] =
          direction(unit, side, phase, winding, limb) * winding.turns[index(limb)] *
          winding_turns(unit, side, tap_factor(unit)) * sound_part(unit, side, limb);
    }
    network.branches.push_back(branch);
  }
}

void add_shorted_turns(Network& network, const TransformerUnit& unit, const ShortedTurns& fault) {
  Branch branch = winding_branch(unit, fault.side, fault.limb, fault.fraction);
  branch.resistance += fault.resistance;
  branch.turns[index(fault.limb)] =
      fault.fraction * winding_turns(unit, fault.side, tap_factor(unit));
  network.branches.push_back(branch);
}

/// The two sides of an autotransformer end at the same point.
void join_sides(Network& network, const TransformerUnit& unit) {
  const int end = is_three_phase(unit.group.high) ? 0 : 2;
  Branch branch{};
  branch.from = terminal_node(Side::high, end);
  branch.to = terminal_node(Side::low, end);
  branch.resistance = kJumperResistance;
  network.branches.push_back(branch);
}

void add_tertiary(Network& network, const TransformerUnit& unit) {
  Branch branch{};  // a closed loop
  branch.resistance = 3 * unit.tertiary.resistance *
                      heating_factor(unit.conductor, unit.reference_temperature, unit.temperature);
  branch.inductance = 3 * unit.tertiary.leakage_inductance;
  branch.turns = {unit.tertiary.turns, unit.tertiary.turns, unit.tertiary.turns};
  network.branches.push_back(branch);
}

void add_burden(Network& network, const TransformerUnit& unit, TerminalPair pair) {
  Branch branch = jumper(Side::low, pair);
  branch.resistance = std::max(branch.resistance, unit.burden.resistance);
  branch.inductance = unit.burden.inductance;
  network.branches.push_back(branch);
}

/// What only some units have.
void add_extras(Network& network, const TransformerUnit& unit) {
  network.branches.insert(network.branches.end(), unit.loops.begin(), unit.loops.end());
  if (unit.is_autotransformer) {
    join_sides(network, unit);
  }
  if (unit.tertiary.turns > 0) {
    add_tertiary(network, unit);
  }
  if (unit.burden.resistance > 0 || unit.burden.inductance > 0) {
    const kvr_WindingType type = winding_type(unit.group, Side::low);
    for (const TerminalPair& pair : terminal_pairs(type)) {
      if (!has_neutral(type) || pair.minus == 0) {
        add_burden(network, unit, pair);
      }
    }
  }
  for (int terminal = 0; unit.winding_capacitance > 0 && terminal < 4; ++terminal) {
    if (lead_connected(unit, Side::high, terminal) && lead_connected(unit, Side::low, terminal)) {
      network.capacitors.push_back({terminal_node(Side::high, terminal),
                                    terminal_node(Side::low, terminal), unit.winding_capacitance});
    }
  }
  network.source = unit.source;
}

}  // namespace

BySide<std::vector<PhaseWinding>> unit_windings(const TransformerUnit& unit) {
  return unit.arrangement[Side::high].empty() ? phase_windings(unit.group) : unit.arrangement;
}

std::vector<Branch> open_loops(const TransformerUnit& unit, Side side) {
  Network loops{};
  if (winding_type(unit.group, side) == KVR_WINDING_D) {
    Network windings{};
    add_windings(windings, unit, side, unit_windings(unit)[side]);
    Branch loop{};
    for (const Branch& branch : windings.branches) {
      loop.resistance += branch.resistance;
      loop.eddy_resistance += branch.eddy_resistance;
      loop.inductance += branch.inductance;
      for (std::size_t limb = 0; limb < loop.turns.size(); ++limb) {
        loop.turns[limb] += branch.turns[limb];
      }
    }
    loops.branches.push_back(loop);
  }
  for (const ShortedTurns& fault : unit.faults.shorted_turns) {
    if (fault.side == side) {
      add_shorted_turns(loops, unit, fault);
    }
  }
  return loops.branches;
}

double rated_relative_turns(const TransformerUnit& unit, Side side) {
  return side_turns(unit, side, 1);
}

bool can_be_autotransformer(const WindingGroup& group) {
  const auto is_star = [](kvr_WindingType type) {
    return type == KVR_WINDING_Y || type == KVR_WINDING_YN;
  };
  return group.clock == 0 &&
         (!is_three_phase(group.high) || (is_star(group.high) && is_star(group.low)));
}

double rated_turns_ratio(const TransformerUnit& unit) {
  return unit.rated_voltage[Side::high] / unit.rated_voltage[Side::low] * turns_factor(unit.group);
}

double turns_ratio(const TransformerUnit& unit) {
  return relative_turns(unit, Side::high) / relative_turns(unit, Side::low);
}

double rated_current(const TransformerUnit& unit, Side side) {
  const double phases = is_three_phase(unit.group.high) ? std::sqrt(3.0) : 1;
  return unit.kva * 1000 / (phases * unit.rated_voltage[side]);
}

double rated_flux(const TransformerUnit& unit) {
  const double limb_voltage = unit.rated_voltage[Side::high] / line_voltage_factor(unit.group.high);
  return std::numbers::sqrt2 * limb_voltage / (2 * std::numbers::pi * unit.frequency);
}

double rated_core_flux(const TransformerUnit& unit) {
  return rated_flux(unit) * unit.core_flux_factor;
}

double heating_factor(Conductor conductor, double from, double to) {
  return (conductor.zero + to) / (conductor.zero + from);
}

bool lead_connected(const TransformerUnit& unit, Side side, int terminal) {
  const kvr_WindingType type = winding_type(unit.group, side);
  const bool outside =
      terminal == 0 ? has_neutral(type) : terminal <= (is_three_phase(type) ? 3 : 2);
  return outside && !unit.faults.open_lead[side][index(terminal)];
}

Network unit_network(const TransformerUnit& unit, double input_resistance) {
  Network network{
      std::vector<double>(8, kInsulationConductance), std::vector<double>(8), {}, unit.core};
  const auto windings = unit_windings(unit);
  for (const Side side : kSides) {
    add_windings(network, unit, side, windings[side]);
    for (int terminal = 0; terminal < 4; ++terminal) {
      if (lead_connected(unit, side, terminal)) {
        network.node_conductance[index(terminal_node(side, terminal))] += 1 / input_resistance;
        network.node_capacitance[index(terminal_node(side, terminal))] += unit.capacitance;
      }
    }
  }
  for (const ShortedTurns& fault : unit.faults.shorted_turns) {
    add_shorted_turns(network, unit, fault);
  }
  add_extras(network, unit);
  return network;
}

Branch jumper(Side side, TerminalPair pair) {
  Branch branch{};
  branch.from = terminal_node(side, pair.plus);
  branch.to = terminal_node(side, pair.minus);
  branch.resistance = kJumperResistance;
  return branch;
}

void join_lines(Network& network, const TransformerUnit& unit, Side side) {
  const int lines = is_three_phase(unit.group.high) ? 3 : 2;
  for (int terminal = 1; terminal < lines; ++terminal) {
    network.branches.push_back(jumper(side, {terminal, terminal + 1}));
  }
}

kvr_TestSetup nameplate_setup(const TransformerUnit& unit) {
  kvr_TestSetup setup{};
  for (const Side side : kSides) {
    kvr_WindingSetup& winding = setup.windings[winding_index(unit.pair, side)];
    winding.winding_type = winding_type(unit.group, side);
    winding.voltage = static_cast<float>(unit.rated_voltage[side]);
    winding.current = static_cast<float>(rated_current(unit, side));
    winding.tap_changer = KVR_TAP_CHANGER_NONE;
  }
  setup.windings[winding_index(unit.pair, unit.taps.side)].tap_changer = unit.taps.type;
  for (kvr_WindingSetup& winding : setup.windings) {
    winding.winding_setting = 1;
  }
  setup.connection_type = static_cast<std::uint32_t>(unit.pair);
  setup.connections[setup.connection_type].clock = unit.group.clock;
  setup.connections[setup.connection_type].kva = static_cast<float>(unit.kva);
  setup.line_frequency = static_cast<std::int32_t>(std::lround(unit.frequency));
  setup.temperature_from = static_cast<float>(unit.temperature);
  setup.temperature_to = 75;
  return setup;
}

}  // namespace virtual_instrument

#include "virtual_instrument/model/winding_group.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "virtual_instrument/model/index.h"
#include "virtual_instrument/vocabulary/winding_letters.h"

namespace virtual_instrument {
namespace {

using Turns = std::array<double, 3>;

constexpr double kNearlyZero = 1e-9;

int next_limb(int limb) { return (limb + 1) % 3; }
int previous_limb(int limb) { return (limb + 2) % 3; }

struct SinglePhaseName {
  const char* name;
  WindingGroup group;
};

constexpr SinglePhaseName kSinglePhaseNames[] = {
    {"Ii0", {KVR_WINDING_1P, KVR_WINDING_1P, 0}},
    {"Ii6", {KVR_WINDING_1P, KVR_WINDING_1P, 6}},
    {"CT", {KVR_WINDING_CT, KVR_WINDING_CT, 0}},
    {"PT", {KVR_WINDING_PT, KVR_WINDING_PT, 0}},
};

/// How limb windings connect to the terminals.
struct Arrangement {
  int rotation;   ///< limb of terminal 1
  bool reversed;  ///< whether the ends of each limb winding are exchanged
  bool
      other_hand;  ///< windings of delta and zigzag go to the next limb instead of the previous one
};

/// The winding that starts at terminal 1 + `phase`.
PhaseWinding phase_winding(kvr_WindingType type, int phase, const Arrangement& arrangement) {
  const int neighbour = arrangement.other_hand ? next_limb(phase) : previous_limb(phase);
  const int limb = (phase + arrangement.rotation) % 3;
  const int neighbour_limb = (neighbour + arrangement.rotation) % 3;
  PhaseWinding result{{phase + 1, 0}, {}, limb};
  if (type == KVR_WINDING_D) {
    result.terminals.minus = neighbour + 1;
    result.turns[index(limb)] = 1;
  } else if (is_zigzag(type)) {
    result.turns[index(limb)] = 0.5;
    result.turns[index(neighbour_limb)] = -0.5;
  } else {
    result.turns[index(limb)] = 1;
  }
  for (double& turns : result.turns) {
    turns = arrangement.reversed ? -turns : turns;
  }
  return result;
}

std::vector<PhaseWinding> three_windings(kvr_WindingType type, const Arrangement& arrangement) {
  return {phase_winding(type, 0, arrangement), phase_winding(type, 1, arrangement),
          phase_winding(type, 2, arrangement)};
}

std::array<Complex, 3> balanced_phasors() { return {1, phasor_at(-1.0 / 3), phasor_at(1.0 / 3)}; }

int clock_between(const std::vector<PhaseWinding>& high, const std::vector<PhaseWinding>& low) {
  const Complex h = line_phasors(high, balanced_phasors())[0];
  const Complex x = line_phasors(low, balanced_phasors())[0];
  const int lag = static_cast<int>(std::lround(degrees(angle(h * std::conj(x))) / 30));
  return (lag + 12) % 12;
}

bool is_star(kvr_WindingType type) { return type == KVR_WINDING_Y || type == KVR_WINDING_YN; }

bool is_single_phase(kvr_WindingType type) {
  return type == KVR_WINDING_1P || type == KVR_WINDING_CT || type == KVR_WINDING_PT;
}

double dot(const Turns& a, const Turns& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// The flux that induces no voltage in the shorted winding and returns through the limbs alone.
Turns flux_beside(const Turns& shorted) {
  return {shorted[1] - shorted[2], shorted[2] - shorted[0], shorted[0] - shorted[1]};
}

/// The part of `turns` in which flux can induce a voltage: no flux is the same in all limbs, since
/// it would have no return path.
Turns without_mean(const Turns& turns) {
  const double mean = (turns[0] + turns[1] + turns[2]) / 3;
  return {turns[0] - mean, turns[1] - mean, turns[2] - mean};
}

/// The ratio of the voltages of two windings, if it is the same for each flux that the core and the
/// shorted winding, if any, allow.
std::optional<double> fixed_ratio(const Turns& high, const Turns& low,
                                  const std::optional<Turns>& shorted) {
  if (shorted) {
    const Turns flux = flux_beside(*shorted);
    const double low_voltage = dot(low, flux);
    const double high_voltage = dot(high, flux);
    if (std::abs(low_voltage) < kNearlyZero || std::abs(high_voltage) < kNearlyZero) {
      return std::nullopt;
    }
    return high_voltage / low_voltage;
  }
  const double low_square = dot(low, low);
  if (low_square < kNearlyZero) {
    return std::nullopt;
  }
  const double ratio = dot(high, low) / low_square;
  for (const std::size_t limb : {1U, 2U}) {  // turns add up to nothing, so that two limbs decide
    if (std::abs(high[limb] - ratio * low[limb]) > kNearlyZero) {
      return std::nullopt;
    }
  }
  return ratio;
}

/// A pair with the turns between its terminals, without their mean.
struct WoundPair {
  TerminalPair terminals;
  Turns turns;
};

std::vector<WoundPair> wound_pairs(kvr_WindingType type,
                                   const std::vector<PhaseWinding>& windings) {
  std::vector<WoundPair> pairs;
  for (const TerminalPair& pair : terminal_pairs(type)) {
    if (const auto turns = turns_between(windings, pair)) {
      pairs.push_back({pair, without_mean(*turns)});
    }
  }
  return pairs;
}

/// Pairs in the order that a phase prefers: its own before those of the other phases.
std::vector<WoundPair> in_order_of(const std::vector<WoundPair>& pairs, std::size_t phase) {
  std::vector<WoundPair> ordered;
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    ordered.push_back(pairs.size() < 3 ? pairs[i] : pairs[i / 3 * 3 + (i + phase) % 3]);
  }
  return ordered;
}

/// How far a ratio is from 1, up or down.
double distance_from_one(double ratio) { return std::max(ratio, 1 / ratio); }

/// Updates `best` if `high` and `low` have a fixed ratio closer to 1. Exchanges the terminals of
/// `low` if the voltages have opposite signs.
void match(const WoundPair& high, const WoundPair& low, const WoundPair* shorted, Side shorted_side,
           std::optional<PhaseConnection>& best) {
  std::optional<Turns> shorted_turns;
  std::optional<TerminalPair> shorted_pair;
  if (shorted != nullptr) {
    shorted_turns = shorted->turns;
    shorted_pair = shorted->terminals;
  }
  const auto ratio = fixed_ratio(high.turns, low.turns, shorted_turns);
  if (ratio &&
      (!best || distance_from_one(std::abs(*ratio)) < distance_from_one(best->ratio) - 1e-6)) {
    const TerminalPair exchanged{low.terminals.minus, low.terminals.plus};
    best = {{high.terminals, *ratio > 0 ? low.terminals : exchanged},
            shorted_pair,
            shorted_side,
            std::abs(*ratio)};
  }
}

PhaseConnection connection_of(const WoundPair& high, const std::vector<WoundPair>& highs,
                              const std::vector<WoundPair>& lows) {
  std::optional<PhaseConnection> best;
  for (const WoundPair& low : lows) {
    match(high, low, nullptr, Side::high, best);
  }
  if (best) {
    return *best;
  }
  for (const WoundPair& low : lows) {
    for (const Side side : {Side::low, Side::high}) {
      for (const WoundPair& shorted : side == Side::high ? highs : lows) {
        match(high, low, &shorted, side, best);
      }
    }
  }
  return best.value_or(
      PhaseConnection{{high.terminals, lows.front().terminals}, std::nullopt, Side::high, 1});
}

}  // namespace

kvr_WindingType winding_type(const WindingGroup& group, Side side) {
  return side == Side::high ? group.high : group.low;
}

bool is_zigzag(kvr_WindingType type) { return type == KVR_WINDING_Z || type == KVR_WINDING_ZN; }

bool is_three_phase(kvr_WindingType type) {
  return type >= KVR_WINDING_D && type <= KVR_WINDING_ZN;
}

bool has_neutral(kvr_WindingType type) { return type == KVR_WINDING_YN || type == KVR_WINDING_ZN; }

bool exists(const WindingGroup& group) {
  if (group.clock < 0 || group.clock > 11) {
    return false;
  }
  if (is_single_phase(group.high)) {
    return is_single_phase(group.low) && group.clock % 6 == 0;
  }
  // A star shifts no phase; deltas and zigzags shift it by 30 degrees, either way.
  const bool odd = is_star(group.high) != is_star(group.low);
  return is_three_phase(group.high) && is_three_phase(group.low) && (group.clock % 2 == 1) == odd;
}

std::vector<WindingGroup> three_phase_groups() {
  std::vector<WindingGroup> groups;
  for (const WindingLetters& high : kWindingLetters) {
    for (const WindingLetters& low : kWindingLetters) {
      for (int clock = 0; clock < 12; ++clock) {
        const WindingGroup group{high.type, low.type, clock};
        if (is_three_phase(high.type) && exists(group)) {
          groups.push_back(group);
        }
      }
    }
  }
  return groups;
}

std::string group_name(const WindingGroup& group) {
  return std::string(letters_of(group.high, &WindingLetters::high)) +
         letters_of(group.low, &WindingLetters::low) + std::to_string(group.clock);
}

std::optional<WindingGroup> parse_group(std::string_view name) {
  for (const SinglePhaseName& single : kSinglePhaseNames) {
    if (name == single.name) {
      return single.group;
    }
  }
  for (const WindingGroup& group : three_phase_groups()) {
    if (name == group_name(group)) {
      return group;
    }
  }
  return std::nullopt;
}

BySide<std::vector<PhaseWinding>> phase_windings(const WindingGroup& group) {
  if (!is_three_phase(group.high)) {
    const double sign = group.clock == 6 ? -1 : 1;
    return {std::vector<PhaseWinding>{{{1, 2}, {1, 0, 0}}},
            std::vector<PhaseWinding>{{{1, 2}, {sign, 0, 0}}}};
  }
  // Without rotation, windings of one letter share a limb.
  for (int rotation = 0; rotation < 3; ++rotation) {
    for (const bool high_hand : {false, true}) {
      const std::vector<PhaseWinding> high = three_windings(group.high, {0, false, high_hand});
      for (const bool reversed : {false, true}) {
        for (const bool low_hand : {false, true}) {
          std::vector<PhaseWinding> low = three_windings(group.low, {rotation, reversed, low_hand});
          if (clock_between(high, low) == group.clock) {
            return {high, std::move(low)};
          }
        }
      }
    }
  }
  return {three_windings(group.high, {0, false, false}), {}};
}

std::vector<PhaseWinding> third_windings(const std::vector<PhaseWinding>& high,
                                         kvr_WindingType type, int clock) {
  for (int rotation = 0; rotation < 3; ++rotation) {
    for (const bool reversed : {false, true}) {
      for (const bool hand : {false, true}) {
        std::vector<PhaseWinding> third = three_windings(type, {rotation, reversed, hand});
        if (clock_between(high, third) == clock) {
          return third;
        }
      }
    }
  }
  return {};
}

std::array<Complex, 3> line_phasors(const std::vector<PhaseWinding>& windings,
                                    const std::array<Complex, 3>& limbs) {
  // A delta's winding is the difference of two lines, so each line is the sum of two windings; a
  // star's winding lies between a line and the neutral.
  std::array<Complex, 3> lines{};
  for (const PhaseWinding& winding : windings) {
    Complex voltage = 0;
    for (std::size_t limb = 0; limb < 3; ++limb) {
      voltage += winding.turns[limb] * limbs[limb];
    }
    if (winding.terminals.minus == 0) {
      lines[index(winding.terminals.plus - 1)] += voltage;
    } else {
      lines[index(winding.terminals.plus - 1)] += voltage / 3.0;
      lines[index(winding.terminals.minus - 1)] -= voltage / 3.0;
    }
  }
  const Complex mean = (lines[0] + lines[1] + lines[2]) / 3.0;
  return {lines[0] - mean, lines[1] - mean, lines[2] - mean};
}

double line_voltage_factor(kvr_WindingType type) {
  if (!is_three_phase(type)) {
    return 1;
  }
  const auto lines = line_phasors(three_windings(type, {0, false, false}), balanced_phasors());
  return magnitude(lines[0] - lines[1]);
}

double turns_factor(const WindingGroup& group) {
  return line_voltage_factor(group.low) / line_voltage_factor(group.high);
}

std::string terminal_name(Side side, int terminal, WindingPair windings) {
  std::string name(1, winding_letter(windings, side));
  return name += std::to_string(terminal);
}

std::string pair_name(Side side, TerminalPair pair, WindingPair windings) {
  std::string name = terminal_name(side, pair.plus, windings);
  return name.append("-").append(terminal_name(side, pair.minus, windings));
}

std::optional<std::array<double, 3>> turns_between(const std::vector<PhaseWinding>& windings,
                                                   TerminalPair pair) {
  Turns turns{};
  if (windings.empty()) {
    return std::nullopt;
  }
  if (windings.front().terminals.minus != 0) {  // a delta, or a single winding
    for (const PhaseWinding& winding : windings) {
      if (winding.terminals == pair) {
        return winding.turns;
      }
      if (winding.terminals == TerminalPair{pair.minus, pair.plus}) {
        return Turns{-winding.turns[0], -winding.turns[1], -winding.turns[2]};
      }
    }
    return std::nullopt;
  }
  for (const PhaseWinding& winding : windings) {
    const double sign = winding.terminals.plus == pair.plus    ? 1
                        : winding.terminals.plus == pair.minus ? -1
                                                               : 0;
    for (std::size_t limb = 0; limb < 3; ++limb) {
      turns[limb] += sign * winding.turns[limb];
    }
  }
  return turns;
}

std::vector<TerminalPair> terminal_pairs(kvr_WindingType type) {
  if (!is_three_phase(type)) {
    return {{1, 2}};
  }
  std::vector<TerminalPair> pairs{{1, 3}, {2, 1}, {3, 2}};
  if (has_neutral(type)) {
    pairs.insert(pairs.end(), {{1, 0}, {2, 0}, {3, 0}});
  }
  return pairs;
}

std::vector<PhaseConnection> phase_connections(const WindingGroup& group) {
  const auto windings = phase_windings(group);
  const auto highs = wound_pairs(group.high, windings[Side::high]);
  const auto lows = wound_pairs(group.low, windings[Side::low]);
  const std::size_t phases = is_three_phase(group.high) ? 3 : 1;
  std::vector<PhaseConnection> connections;
  // With a neutral, lines to neutral are preferred; line pairs are the fallback.
  for (const std::size_t first : {highs.size() - phases, std::size_t{0}}) {
    connections.clear();
    bool shorting = false;
    for (std::size_t phase = 0; phase < phases; ++phase) {
      connections.push_back(
          connection_of(highs[first + phase], in_order_of(highs, phase), in_order_of(lows, phase)));
      shorting = shorting || connections.back().shorted.has_value();
    }
    if (!shorting) {
      break;
    }
  }
  return connections;
}

}  // namespace virtual_instrument

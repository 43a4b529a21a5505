#include "virtual_instrument/measurement/unit_waveforms.h"

#include <cstddef>
#include <numbers>

namespace virtual_instrument {
namespace {

std::size_t node_index(int side, int terminal) {
  return static_cast<std::size_t>(terminal_node(side, terminal));
}

/// As much as a short cable has.
constexpr double kJumperResistance = 1e-4;

}  // namespace

std::vector<double> course(const Spectrum& spectrum) {
  // A phasor's angle counts from a cosine's top, and here from a sine's rise, a quarter earlier;
  // one step later on is where the instrument starts.
  Spectrum turned = spectrum;
  for (std::size_t harmonic = 1; harmonic < turned.size(); ++harmonic) {
    turned[harmonic] *= unit_phasor(static_cast<double>(harmonic) * (1.0 / kFinestSteps - 0.25));
  }
  return waveform(turned, kFinestSteps);
}

Spectrum terminal_voltage(const PeriodicState& state, int side, TerminalPair pair) {
  return difference(state.node_voltage[node_index(side, pair.plus)],
                    state.node_voltage[node_index(side, pair.minus)]);
}

Spectrum line_voltage_to_mean(const PeriodicState& state, int side, int line) {
  Spectrum voltage = state.node_voltage[node_index(side, line)];
  for (std::size_t harmonic = 0; harmonic < voltage.size(); ++harmonic) {
    for (int other = 1; other <= 3; ++other) {
      voltage[harmonic] -= state.node_voltage[node_index(side, other)][harmonic] / 3.0;
    }
  }
  return voltage;
}

Spectrum terminal_current(const PeriodicState& state, const std::vector<Drive>& drives, int side,
                          int terminal) {
  for (std::size_t number = 0; number < drives.size(); ++number) {
    if (drives[number].node == terminal_node(side, terminal)) {
      return state.drive_current[number];
    }
  }
  return {};
}

std::vector<Drive> pair_drives(int side, TerminalPair pair, double voltage) {
  return {{terminal_node(side, pair.plus), voltage * std::numbers::sqrt2},
          {terminal_node(side, pair.minus), 0}};
}

Branch jumper(int side, TerminalPair pair) {
  Branch branch{};
  branch.from = terminal_node(side, pair.plus);
  branch.to = terminal_node(side, pair.minus);
  branch.resistance = kJumperResistance;
  return branch;
}

}  // namespace virtual_instrument

#pragma once

#include <vector>

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/model/magnetizing_branch.h"

namespace virtual_instrument {

/// A winding's own share of the equivalent circuit.
struct Winding {
  double resistance;          ///< ohm
  double leakage_inductance;  ///< H
};

/// The equivalent circuit of a single-phase transformer: an ideal ratio between two windings with
/// resistance and leakage, and a core that is seen from the high side.
struct Transformer {
  double turns_ratio;  ///< turns of the high side to turns of the low side
  Winding high;
  Winding low;
  MagnetizingBranch core;
};

Transformer make_transformer(const TransformerSettings& settings);

enum class Side { high, low };

struct Excitation {
  Side side;
  double voltage;    ///< V, r.m.s., at the terminals
  double frequency;  ///< Hz
};

/// What happens at the terminals during one period of steady state, kStepsPerPeriod values each.
/// The side that is not excited is open and carries no current.
struct Waveforms {
  std::vector<double> voltage_high;  ///< V
  std::vector<double> voltage_low;   ///< V
  std::vector<double> current_high;  ///< A
  std::vector<double> current_low;   ///< A
};

Waveforms excite(const Transformer& transformer, const Excitation& excitation);

}  // namespace virtual_instrument

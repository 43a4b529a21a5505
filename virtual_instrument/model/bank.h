#pragma once

#include <array>

#include "virtual_instrument/model/transformer.h"
#include "virtual_instrument/model/vector_group.h"

namespace virtual_instrument {

/// What happens at the terminals of a bank of three equal transformers, joined as `group`, on a
/// symmetrical source. Place k of the result holds the line voltages between the terminals k and
/// k + 1 of either side and the currents into terminal k. `line.voltage` is the one between two
/// terminals of the excited side.
///
/// Star points are taken to stay in the middle, and what harmonics would circulate in a delta is
/// left out. Both hold for equal transformers well below saturation.
///
/// Angles count from the voltage of the excited side's first coil.
std::array<Waveforms, 3> excite_bank(const Transformer& transformer, const VectorGroup& group,
                                     const Excitation& line);

}  // namespace virtual_instrument

#pragma once

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"
#include "virtual_instrument/measurement/three_phase_ratio.h"

// Removes from a result the phases that a fault of the bench names: they keep their names and
// positions, and their status says why they have no other values.

namespace virtual_instrument {

void fail_phases(const Fault& fault, SinglePhaseRatio& result);

/// If any phase fails, all values that need three phases are removed too.
void fail_phases(const Fault& fault, ThreePhaseRatio& result);

}  // namespace virtual_instrument

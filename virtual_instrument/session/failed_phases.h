#pragma once

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"
#include "virtual_instrument/measurement/three_phase_ratio.h"

// Takes from a result what a fault of the bench has fail: the phases keep their names and their
// places, and their status says why there is nothing else of them.

namespace virtual_instrument {

void fail_phases(const Fault& fault, SinglePhaseRatio& result);

/// All that is made of three phases together goes with any of them.
void fail_phases(const Fault& fault, ThreePhaseRatio& result);

}  // namespace virtual_instrument

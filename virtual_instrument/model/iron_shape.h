#pragma once

#include "virtual_instrument/model/core_network.h"

// Gives a core that saturates the shape of iron: a knee that is round, and hysteresis as a loop.
// What is known of a core stays what it was: the losses and the r.m.s. value of the magnetizing
// current at rated voltage and frequency, the knee, and the inductance beyond it.

namespace virtual_instrument {

/// Replaces a part of the linear current by a bend below the knee, and hysteresis losses by a loop
/// of the same area. A core without a knee stays linear. Where a loop of that area would take more
/// than the whole magnetizing current, the loop takes what fits, and the rest of the losses remains
/// a conductance. REQUIRES: a core without bend and loop.
void shape_iron(Core& core, double rated_flux);

/// Of oil and tank, for a zero-sequence magnetizing impedance in ohm: the voltage of three limb
/// windings of the high side in parallel over the current in each.
double tank_reluctance(double zero_sequence_impedance, double frequency);

}  // namespace virtual_instrument

#pragma once

#include <array>

#include "virtual_instrument/model/phasor.h"

namespace virtual_instrument {

/// Three phasors as the sum of three symmetrical systems, each named by its member in phase A.
struct SequenceComponents {
  Complex zero;
  Complex positive;
  Complex negative;
};

SequenceComponents sequence_components(const std::array<Complex, 3>& phases);

}  // namespace virtual_instrument

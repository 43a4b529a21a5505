#pragma once

#include "virtual_instrument/measurement/phase_reading.h"

// The three-phase ratio test with one source, phase by phase.

namespace virtual_instrument {

/// Excites and reads one phase. `wiring` is that of the phase in `group`.
PhaseReading read_alone(TestCircuit& circuit, const WindingGroup& group, int phase,
                        const PhaseConnection& wiring);

}  // namespace virtual_instrument

#pragma once

#include <array>
#include <vector>

#include "virtual_instrument/measurement/phase_reading.h"

// The three-phase ratio test with a three-phase source, which excites all lines at once.

namespace virtual_instrument {

/// The samples of the three lines, each against the neutral, or against the mean of the lines
/// without one.
using Lines = std::array<SampledTest, 3>;

/// KVR_RES_OK, or the code of an open lead that the source needs.
kvr_code source_code(const TestCircuit& circuit, const WindingGroup& windings);

/// They put the test voltage on the pair of the excited side that phase A is tested by.
std::vector<VoltageSource> three_phase_sources(const TestCircuit& circuit,
                                               const WindingGroup& windings);

Lines sample_lines(TestCircuit& circuit, const WindingGroup& windings, const PeriodicState& state,
                   const std::vector<VoltageSource>& sources);

/// The fundamentals of the voltages of the lines.
BySide<std::array<Complex, 3>> line_voltages(const TestCircuit& circuit, const Lines& lines);

/// Reads one phase. `wiring` is that of the phase in `group`.
PhaseReading read_lines(const TestCircuit& circuit, const WindingGroup& group, int phase,
                        const PhaseConnection& wiring, const Lines& lines);

}  // namespace virtual_instrument

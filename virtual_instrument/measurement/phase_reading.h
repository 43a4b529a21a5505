#pragma once

#include "api/codes.h"
#include "virtual_instrument/measurement/ratio_circuit.h"
#include "virtual_instrument/measurement/samples.h"
#include "virtual_instrument/model/winding_group.h"

// What one phase gives in a three-phase ratio test, with either kind of source.

namespace virtual_instrument {

struct PhaseReading {
  kvr_code code = KVR_RES_NOT_TESTED;
  SampledTest pair;        ///< the voltages that the turns ratio is made of
  PhaseConnection wiring;  ///< where they were taken
  double turns_per_voltage_ratio = 1;
  double voltage_lead = 0;  ///< rad, of the excited pair before the line of the measured current
  Complex high;             ///< V r.m.s., the line against the neutral
  Complex low;
  double line_ratio = 0;  ///< of line voltages; 0: not measured, follows from the turns ratio
};

/// The pair of lines that carries the name of a phase.
TerminalPair line_pair(int phase);

/// The low side's line that belongs to reading.high, from the pair's voltages and what their ratio
/// would be for limb windings of equal turns.
Complex low_line(const TestCircuit& circuit, const WindingGroup& group, const PhaseReading& reading,
                 Complex pair_ratio);

/// KVR_RES_OK, or what the instrument's protection makes of a reading.
kvr_code protection_code(const TestCircuit& circuit, const PhaseReading& reading);

}  // namespace virtual_instrument

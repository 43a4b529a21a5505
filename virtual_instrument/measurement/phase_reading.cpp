#include "virtual_instrument/measurement/phase_reading.h"

#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/model/index.h"

namespace virtual_instrument {

TerminalPair line_pair(int phase) { return terminal_pairs(KVR_WINDING_D)[index(phase)]; }

Complex low_line(const TestCircuit& circuit, const WindingGroup& group, const PhaseReading& reading,
                 Complex pair_ratio) {
  const BySide<Samples>& voltage = reading.pair.voltage;
  const Complex turns = quotient(circuit.phasor(voltage[Side::low]) * pair_ratio,
                                 circuit.phasor(voltage[Side::high]));
  return reading.high * turns * turns_factor(group) * phasor_at(-group.clock / 12.0);
}

kvr_code protection_code(const TestCircuit& circuit, const PhaseReading& reading) {
  const BySide<Samples>& voltage = reading.pair.voltage;
  if (circuit.excited == Side::low &&
      rms(voltage[Side::high]) / rms(voltage[Side::low]) > kHighestStepUpRatio) {
    return KVR_STEPUP_RATIO_TOO_HIGH;
  }
  return check_limits(reading.pair, reading.voltage_lead, circuit.bench.instrument);
}

}  // namespace virtual_instrument

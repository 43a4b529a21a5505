#include "virtual_instrument/measurement/one_source.h"

#include "virtual_instrument/measurement/leads.h"
#include "virtual_instrument/measurement/unit_waveforms.h"

namespace virtual_instrument {
namespace {

/// KVR_RES_OK, or the code of the first open lead.
kvr_code wiring_code(const TransformerUnit& unit, const PhaseConnection& wiring) {
  for (const Side side : kSides) {
    if (const kvr_code code = lead_code(unit, side, wiring.pairs[side]); code != KVR_RES_OK) {
      return code;
    }
  }
  return wiring.shorted ? lead_code(unit, wiring.shorted_side, *wiring.shorted) : KVR_RES_OK;
}

SampledTest sample_pairs(TestCircuit& circuit, const PhaseConnection& wiring) {
  Network network = circuit.network;
  if (wiring.shorted) {
    network.branches.push_back(jumper(wiring.shorted_side, *wiring.shorted));
  }
  const Side excited = circuit.excited;
  const TerminalPair pair = wiring.pairs[excited];
  const std::vector<VoltageSource> sources = pair_sources(excited, pair, circuit.test_voltage);
  const PeriodicState state = circuit.solve(network, sources);
  Waveforms waveforms;
  for (const Side side : kSides) {
    waveforms.voltage[side] = terminal_waveform(terminal_voltage(state, side, wiring.pairs[side]));
  }
  waveforms.current[excited] =
      terminal_waveform(terminal_current(state, sources, excited, pair.plus));
  waveforms.current[other_side(excited)].resize(waveforms.current[excited].size());
  return circuit.sampled(waveforms);
}

}  // namespace

PhaseReading read_alone(TestCircuit& circuit, const WindingGroup& group, int phase,
                        const PhaseConnection& wiring) {
  PhaseReading reading;
  reading.wiring = wiring;
  reading.turns_per_voltage_ratio = 1 / wiring.ratio;
  reading.code = wiring_code(circuit.unit, wiring);
  if (reading.code != KVR_RES_OK) {
    return reading;
  }
  reading.pair = sample_pairs(circuit, wiring);
  // The lines as they would be on a three-phase source.
  reading.high =
      magnitude(circuit.phasor(reading.pair.voltage[Side::high])) * phasor_at(-phase / 3.0);
  reading.low = low_line(circuit, group, reading, wiring.ratio);
  reading.code = protection_code(circuit, reading);
  return reading;
}

}  // namespace virtual_instrument

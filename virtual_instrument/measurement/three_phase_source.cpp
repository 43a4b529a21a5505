#include "virtual_instrument/measurement/three_phase_source.h"

#include <cstddef>
#include <numbers>

#include "virtual_instrument/measurement/clock_search.h"
#include "virtual_instrument/measurement/leads.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/equivalent_circuit.h"
#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

using Channels = BySide<Samples> SampledTest::*;

Spectrum line_voltage(const TestCircuit& circuit, const WindingGroup& windings,
                      const PeriodicState& state, Side side, int line) {
  return has_neutral(winding_type(windings, side)) && lead_connected(circuit.unit, side, 0)
             ? terminal_voltage(state, side, {line, 0})
             : line_voltage_to_mean(state, side, line);
}

Samples pair_samples(const Lines& lines, Channels channels, Side side, TerminalPair pair) {
  Samples samples((lines.front().*channels)[side].size());
  for (std::size_t number = 0; number < samples.size(); ++number) {
    samples[number] += pair.plus == 0 ? 0 : (lines[index(pair.plus - 1)].*channels)[side][number];
    samples[number] -= pair.minus == 0 ? 0 : (lines[index(pair.minus - 1)].*channels)[side][number];
  }
  return samples;
}

Samples pair_voltage(const Lines& lines, Side side, TerminalPair pair) {
  return pair_samples(lines, &SampledTest::voltage, side, pair);
}

/// The current in the lead of a pair's first terminal, or the reversed current in that of its
/// second one if the first is the neutral.
Samples pair_current(const Lines& lines, Side side, TerminalPair pair) {
  return pair_samples(lines, &SampledTest::current, side,
                      pair.plus == 0 ? TerminalPair{0, pair.minus} : TerminalPair{pair.plus, 0});
}

bool all_lines_connected(const TransformerUnit& unit) {
  for (const Side side : kSides) {
    for (int line = 1; line <= 3; ++line) {
      if (!lead_connected(unit, side, line)) {
        return false;
      }
    }
  }
  return true;
}

/// Voltage ratio of a wiring's pairs for limb windings of equal turns on a balanced source.
Complex balanced_ratio(const WindingGroup& group, const PhaseConnection& wiring) {
  const auto windings = phase_windings(group);
  const auto induced = [&](Side side) {
    const std::array<double, 3> turns = turns_between(windings[side], wiring.pairs[side]).value();
    return turns[0] + turns[1] * phasor_at(-1.0 / 3) + turns[2] * phasor_at(1.0 / 3);
  };
  return quotient(induced(Side::high), induced(Side::low));
}

/// By how much the voltage of a pair leads that of its first line against the neutral.
double lead_of(TerminalPair pair) {
  if (pair.plus == 0 || pair.minus == 0) {
    return 0;
  }
  return pair.minus % 3 + 1 == pair.plus ? -std::numbers::pi / 6 : std::numbers::pi / 6;
}

}  // namespace

kvr_code source_code(const TestCircuit& circuit, const WindingGroup& windings) {
  for (int line = 1; line <= 3; ++line) {
    const kvr_code code = lead_code(circuit.unit, circuit.excited, line);
    if (code != KVR_RES_OK) {
      return code;
    }
  }
  return has_neutral(winding_type(windings, circuit.excited))
             ? lead_code(circuit.unit, circuit.excited, 0)
             : KVR_RES_OK;
}

std::vector<VoltageSource> three_phase_sources(const TestCircuit& circuit,
                                               const WindingGroup& windings) {
  const PhaseConnection wiring = phase_connections(first_group(windings)).front();
  const TerminalPair pair = wiring.pairs[circuit.excited];
  const bool to_neutral = pair.plus == 0 || pair.minus == 0;
  std::vector<VoltageSource> sources = balanced_sources(
      circuit.unit, circuit.excited, circuit.test_voltage * (to_neutral ? std::numbers::sqrt3 : 1));
  if (has_neutral(winding_type(windings, circuit.excited))) {
    sources.push_back({terminal_node(circuit.excited, 0), 0});
  }
  return sources;
}

Lines sample_lines(TestCircuit& circuit, const WindingGroup& windings, const PeriodicState& state,
                   const std::vector<VoltageSource>& sources) {
  Lines lines;
  for (int line = 1; line <= 3; ++line) {
    Waveforms waveforms;
    for (const Side side : kSides) {
      waveforms.voltage[side] =
          terminal_waveform(line_voltage(circuit, windings, state, side, line));
      waveforms.current[side] = terminal_waveform(terminal_current(state, sources, side, line));
    }
    lines[index(line - 1)] = circuit.sampled(waveforms);
  }
  return lines;
}

BySide<std::array<Complex, 3>> line_voltages(const TestCircuit& circuit, const Lines& lines) {
  BySide<std::array<Complex, 3>> voltages;
  for (const Side side : kSides) {
    for (std::size_t line = 0; line < 3; ++line) {
      voltages[side][line] = circuit.phasor(lines[line].voltage[side]);
    }
  }
  return voltages;
}

PhaseReading read_lines(const TestCircuit& circuit, const WindingGroup& group, int phase,
                        const PhaseConnection& wiring, const Lines& lines) {
  PhaseReading reading;
  reading.wiring = wiring;
  const Side measured = other_side(circuit.excited);
  reading.code = lead_code(circuit.unit, measured, wiring.pairs[measured]);
  if (reading.code != KVR_RES_OK) {
    return reading;
  }
  reading.pair = lines.front();
  for (const Side side : kSides) {
    reading.pair.voltage[side] = pair_voltage(lines, side, wiring.pairs[side]);
    reading.pair.current[side] = pair_current(lines, side, wiring.pairs[side]);
  }
  const Complex ratio = balanced_ratio(group, wiring);
  reading.turns_per_voltage_ratio = 1 / magnitude(ratio);
  reading.voltage_lead = lead_of(wiring.pairs[circuit.excited]);
  reading.high = circuit.phasor(lines[index(phase)].voltage[Side::high]);
  reading.low = circuit.phasor(lines[index(phase)].voltage[Side::low]);
  if (all_lines_connected(circuit.unit)) {
    const TerminalPair pair = line_pair(phase);
    reading.line_ratio = magnitude(circuit.phasor(pair_voltage(lines, Side::high, pair))) /
                         magnitude(circuit.phasor(pair_voltage(lines, Side::low, pair)));
  } else if (circuit.excited == Side::high) {
    reading.low = low_line(circuit, group, reading, ratio);
  } else {
    reading.high = reading.low * quotient(reading.high, low_line(circuit, group, reading, ratio));
  }
  reading.code = protection_code(circuit, reading);
  return reading;
}

}  // namespace virtual_instrument

#include "virtual_instrument/measurement/unit_waveforms.h"

#include <cstddef>
#include <numbers>

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

std::size_t node_index(Side side, int terminal) {
  return static_cast<std::size_t>(terminal_node(side, terminal));
}

}  // namespace

std::vector<double> terminal_waveform(const Spectrum& spectrum) {
  // A phasor's angle counts from the peak of a cosine, these angles from the rise of a sine, a
  // quarter of a period earlier. The instrument starts one step after that.
  Spectrum turned = spectrum;
  for (std::size_t harmonic = 1; harmonic < turned.size(); ++harmonic) {
    turned[harmonic] *= phasor_at(static_cast<double>(harmonic) * (1.0 / kFinestSteps - 0.25));
  }
  return waveform(turned, kFinestSteps);
}

Spectrum terminal_voltage(const PeriodicState& state, Side side, TerminalPair pair) {
  return difference(state.node_voltage[node_index(side, pair.plus)],
                    state.node_voltage[node_index(side, pair.minus)]);
}

Spectrum line_voltage_to_mean(const PeriodicState& state, Side side, int line) {
  Spectrum voltage = state.node_voltage[node_index(side, line)];
  for (std::size_t harmonic = 0; harmonic < voltage.size(); ++harmonic) {
    for (int other = 1; other <= 3; ++other) {
      voltage[harmonic] -= state.node_voltage[node_index(side, other)][harmonic] / 3.0;
    }
  }
  return voltage;
}

Spectrum terminal_current(const PeriodicState& state, const std::vector<VoltageSource>& sources,
                          Side side, int terminal) {
  for (std::size_t number = 0; number < sources.size(); ++number) {
    if (sources[number].node == terminal_node(side, terminal)) {
      return state.source_current[number];
    }
  }
  return {};
}

std::vector<VoltageSource> pair_sources(Side side, TerminalPair pair, double voltage) {
  return {{terminal_node(side, pair.plus), voltage * std::numbers::sqrt2},
          {terminal_node(side, pair.minus), 0}};
}

std::vector<TerminalPair> phase_pairs(const TransformerUnit& unit, Side side) {
  const kvr_WindingType type = winding_type(unit.group, side);
  std::vector<TerminalPair> pairs = terminal_pairs(type);
  if (has_neutral(type)) {
    pairs.erase(pairs.begin(), pairs.begin() + 3);
  }
  return pairs;
}

std::vector<TerminalPair> limb_pairs(const TransformerUnit& unit, Side side) {
  std::vector<TerminalPair> pairs = phase_pairs(unit, side);
  const kvr_WindingType type = winding_type(unit.group, side);
  if (type == KVR_WINDING_D || type == KVR_WINDING_YN) {
    const auto windings = unit_windings(unit);
    for (const PhaseWinding& winding : windings[side]) {
      pairs[index(winding.limb)] = winding.terminals;
    }
  }
  return pairs;
}

std::vector<TerminalPair> line_pairs(const TransformerUnit& unit) {
  return terminal_pairs(is_three_phase(unit.group.high) ? KVR_WINDING_D : KVR_WINDING_1P);
}

PeriodicState excite_pair(const Network& network, const PairMeasurement& measurement) {
  return solve_network(network,
                       pair_sources(measurement.side, measurement.pair, measurement.voltage),
                       measurement.frequency);
}

SampledTest sample_pair(const Network& network, const PairMeasurement& measurement,
                        const MeasurementSettings& settings, Noise& noise) {
  return sample_pair(excite_pair(network, measurement), measurement, settings, noise);
}

SampledTest sample_pair(const PeriodicState& state, const PairMeasurement& measurement,
                        const MeasurementSettings& settings, Noise& noise) {
  const std::vector<VoltageSource> sources =
      pair_sources(measurement.side, measurement.pair, measurement.voltage);
  Waveforms waveforms;
  waveforms.voltage[measurement.side] =
      terminal_waveform(terminal_voltage(state, measurement.side, measurement.pair));
  waveforms.voltage[other_side(measurement.side)] =
      terminal_waveform(terminal_voltage(state, measurement.other_side, measurement.other));
  waveforms.current[measurement.side] =
      terminal_waveform(terminal_current(state, sources, measurement.side, measurement.pair.plus));
  waveforms.current[other_side(measurement.side)].resize(kFinestSteps);
  return sample(waveforms, measurement.side, measurement.frequency, settings, noise);
}

Complex excited_voltage(const SampledTest& test) {
  return fundamental(test.voltage[test.excited], test.samples_per_period);
}

Complex excited_current(const SampledTest& test) {
  return fundamental(test.current[test.excited], test.samples_per_period);
}

Complex other_voltage(const SampledTest& test) {
  return fundamental(test.voltage[other_side(test.excited)], test.samples_per_period);
}

Complex measured_impedance(const SampledTest& test) {
  return quotient(excited_voltage(test), excited_current(test));
}

}  // namespace virtual_instrument

#pragma once

#include <array>
#include <vector>

#include "virtual_instrument/measurement/samples.h"
#include "virtual_instrument/model/transformer_unit.h"

namespace virtual_instrument {

/// Resistance of a voltage input of the instrument, in ohm.
inline constexpr double kInputResistance = 1e9;

/// One period at a terminal, in the form that sample() takes: the first value is one step after the
/// source's rise through zero.
std::vector<double> terminal_waveform(const Spectrum& spectrum);

/// Voltage at a terminal of a side against another terminal, or against the mean of the lines.
Spectrum terminal_voltage(const PeriodicState& state, Side side, TerminalPair pair);
Spectrum line_voltage_to_mean(const PeriodicState& state, Side side, int line);

/// The current that the source at a terminal's node delivers; zero without such a source.
Spectrum terminal_current(const PeriodicState& state, const std::vector<VoltageSource>& sources,
                          Side side, int terminal);

/// Sources for an r.m.s. voltage between two terminals.
std::vector<VoltageSource> pair_sources(Side side, TerminalPair pair, double voltage);

/// The pairs of a side that single-phase measurements use: line to neutral, or line to line without
/// a neutral. One pair in a single-phase unit.
std::vector<TerminalPair> phase_pairs(const TransformerUnit& unit, Side side);

/// The same by limb, where each limb's winding lies between two terminals: in a delta and in a star
/// with a neutral. The order of phase_pairs() elsewhere.
std::vector<TerminalPair> limb_pairs(const TransformerUnit& unit, Side side);

/// Line to line, one pair for each phase.
std::vector<TerminalPair> line_pairs(const TransformerUnit& unit);

/// A measurement with one source between two terminals of `side`: its voltage and current in the
/// channels of that side, and the voltage between `other`, of `other_side`, in the other voltage
/// channel.
struct PairMeasurement {
  Side side;
  TerminalPair pair;
  double voltage;    ///< V r.m.s.
  double frequency;  ///< Hz
  Side other_side;
  TerminalPair other;
};

/// The steady state under that source.
PeriodicState excite_pair(const Network& network, const PairMeasurement& measurement);

/// Samples `state`.
SampledTest sample_pair(const PeriodicState& state, const PairMeasurement& measurement,
                        const MeasurementSettings& settings, Noise& noise);

/// Excites the pair and samples it.
SampledTest sample_pair(const Network& network, const PairMeasurement& measurement,
                        const MeasurementSettings& settings, Noise& noise);

/// Impedance between the excited terminals, in ohm.
Complex measured_impedance(const SampledTest& test);

/// Voltage of the excited terminals, current into them, voltage of the others: r.m.s. phasors.
Complex excited_voltage(const SampledTest& test);
Complex excited_current(const SampledTest& test);
Complex other_voltage(const SampledTest& test);

}  // namespace virtual_instrument

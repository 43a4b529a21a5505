#pragma once

#include <array>
#include <vector>

#include "virtual_instrument/model/transformer.h"
#include "virtual_instrument/model/transformer_unit.h"

namespace virtual_instrument {

/// Resistance of a voltage input of the instrument, in ohm.
inline constexpr double kInputResistance = 10e6;

/// One period at a terminal, in the form that sample() takes: steps of which the first lies one
/// step after the source's rise through zero.
std::vector<double> course(const Spectrum& spectrum);

/// Voltage at a terminal of a side against another terminal, or against the mean of the lines where
/// that is given instead.
Spectrum terminal_voltage(const PeriodicState& state, int side, TerminalPair pair);
Spectrum line_voltage_to_mean(const PeriodicState& state, int side, int line);

/// The current that the drive of a terminal's node delivers; nothing without such a drive.
Spectrum terminal_current(const PeriodicState& state, const std::vector<Drive>& drives, int side,
                          int terminal);

/// `drives` for an r.m.s. voltage between two terminals.
std::vector<Drive> pair_drives(int side, TerminalPair pair, double voltage);

/// A jumper between two terminals.
Branch jumper(int side, TerminalPair pair);

}  // namespace virtual_instrument

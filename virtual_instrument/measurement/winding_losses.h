#pragma once

#include <cstddef>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/vocabulary/text_field.h"

// The series impedance of the windings from a short-circuit test, and its parts.

namespace virtual_instrument {

/// Between two lines of the high side, with the lines of the low side joined.
struct SeriesImpedance {
  double resistance;  ///< ohm
  double reactance;   ///< ohm
  double current;     ///< A r.m.s., of the measurement
};

SeriesImpedance series_impedance(const TransformerUnit& unit, const FamilySettings& settings,
                                 std::size_t phase, double frequency, Noise& noise);

/// The parts of a series resistance at line frequency, in ohm.
struct ResistanceParts {
  double copper;  ///< direct-current resistance; rises with temperature
  double stray;   ///< the increase by eddy currents; falls with temperature
  double total() const { return copper + stray; }
};

/// Separates a resistance measured at line frequency into its parts with a second reading at half
/// that frequency, where eddy currents add a quarter as much.
ResistanceParts part_losses(const TransformerUnit& unit, const FamilySettings& settings,
                            std::size_t phase, double resistance, Noise& noise);

/// The same at another temperature, in degrees C.
ResistanceParts corrected(const ResistanceParts& parts, Conductor conductor, double from,
                          double to);

/// Impedances of the equivalent star between two lines: 2, or 1 in a single-phase unit.
double pairs_per_star(const TransformerUnit& unit);

/// Impedance of the equivalent star that would draw rated power, in ohm.
double base_impedance(const TransformerUnit& unit);

}  // namespace virtual_instrument

#pragma once

#include <cstddef>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/vocabulary/text_field.h"

// The series impedance of the windings, as a short-circuit test reads it, and its parts.

namespace virtual_instrument {

/// Between two lines of the high side, the lines of the low side joined.
struct SeriesImpedance {
  double resistance;  ///< ohm
  double reactance;   ///< ohm
  double current;     ///< A r.m.s., of the measurement
};

SeriesImpedance series_impedance(const TransformerUnit& unit, const FamilySettings& settings,
                                 std::size_t phase, double frequency, Noise& noise);

/// What a series resistance at line frequency is made of, in ohm.
struct ResistanceParts {
  double copper;  ///< what direct current meets as well; grows with temperature
  double stray;   ///< what eddies add; falls with temperature
  double total() const { return copper + stray; }
};

/// Parts a resistance measured at line frequency by a second reading at half of it, where eddies
/// add a quarter.
ResistanceParts part_losses(const TransformerUnit& unit, const FamilySettings& settings,
                            std::size_t phase, double resistance, Noise& noise);

/// The same at another temperature, in degrees C.
ResistanceParts corrected(const ResistanceParts& parts, double from, double to);

/// Impedances of the equivalent star that two lines have between them: two, or one in a
/// single-phase unit.
double pairs_per_star(const TransformerUnit& unit);

/// Impedance of the equivalent star that would draw rated power, in ohm.
double base_impedance(const TransformerUnit& unit);

}  // namespace virtual_instrument

#pragma once

#include <array>

#include "api/codes.h"
#include "virtual_instrument/measurement/ratio_circuit.h"
#include "virtual_instrument/model/winding_group.h"

// Finds the clock number of a unit by measuring. The types of its windings are known.

namespace virtual_instrument {

struct FoundClock {
  kvr_code code;  ///< KVR_RES_OK, or why the clock is not known
  int clock;
};

/// The group with these windings that has the lowest clock number.
WindingGroup first_group(const WindingGroup& windings);

/// Excites one phase and finds the clock that explains best what the lines of the low side show.
/// If a faulty limb blurs that, the other phases count too; if that fails, or a lead is open, the
/// clock is the entered one, if there is such a group.
FoundClock find_clock_with_one_source(TestCircuit& circuit, const WindingGroup& windings,
                                      int entered_clock);

/// From the voltages of the lines on a three-phase source.
FoundClock find_clock_of_lines(const WindingGroup& windings,
                               const BySide<std::array<Complex, 3>>& lines);

}  // namespace virtual_instrument

#pragma once

#include "api/codes.h"
#include "virtual_instrument/model/transformer_unit.h"

// Whether the leads of the instrument make contact with the unit.

namespace virtual_instrument {

/// KVR_RES_OK, or the open-lead code of this terminal.
kvr_code lead_code(const TransformerUnit& unit, Side side, int terminal);

/// The same for the first open lead of a pair.
kvr_code lead_code(const TransformerUnit& unit, Side side, TerminalPair pair);

/// Sets the voltages of inputs whose leads make no contact to zero.
void blind_open_leads(const TransformerUnit& unit, PeriodicState& state);

}  // namespace virtual_instrument

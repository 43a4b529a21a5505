#include "virtual_instrument/measurement/leads.h"

#include <cstddef>

namespace virtual_instrument {

kvr_code lead_code(const TransformerUnit& unit, Side side, int terminal) {
  if (lead_connected(unit, side, terminal)) {
    return KVR_RES_OK;
  }
  switch (winding_letter(unit.pair, side)) {
    case 'H':
      return static_cast<kvr_code>(KVR_RES_OPEN_LEAD_H0 + terminal);
    case 'X':
      return static_cast<kvr_code>(KVR_RES_OPEN_LEAD_X0 + terminal);
    default:
      return KVR_RES_OPEN_LEAD;  // no code names a lead of Y
  }
}

kvr_code lead_code(const TransformerUnit& unit, Side side, TerminalPair pair) {
  const kvr_code code = lead_code(unit, side, pair.plus);
  return code == KVR_RES_OK ? lead_code(unit, side, pair.minus) : code;
}

void blind_open_leads(const TransformerUnit& unit, PeriodicState& state) {
  for (const Side side : kSides) {
    for (int terminal = 0; terminal < 4; ++terminal) {
      if (!lead_connected(unit, side, terminal)) {
        state.node_voltage[static_cast<std::size_t>(terminal_node(side, terminal))] = {};
      }
    }
  }
}

}  // namespace virtual_instrument

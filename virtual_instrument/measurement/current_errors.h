#pragma once

#include <vector>

#include "virtual_instrument/model/transformer_unit.h"

namespace virtual_instrument {

/// What a current transformer's secondary current is off from its primary one. Its errors are the
/// current that its core takes (IEC 61869-2).
struct CurrentErrors {
  double share;         ///< of the rated current
  double ratio;         ///< percent, of the rated ratio
  double displacement;  ///< minutes; above 0 if the secondary current leads
};

/// At 1, 5, 20, 100 and 120 percent of the rated current, with the unit's burden. Throws
/// std::runtime_error if the core can't give the voltage that a current needs.
std::vector<CurrentErrors> current_errors(const TransformerUnit& unit);

}  // namespace virtual_instrument

#pragma once

#include "virtual_instrument/model/transformer_unit.h"

// A unit with three windings, of which a test joins two while the third stands open. The pair makes
// a unit of two windings, so that every test works on every pair.

namespace virtual_instrument {

/// The winding Y of a three-phase unit.
struct ThirdWinding {
  kvr_WindingType type;
  int clock;               ///< against the winding H
  double rated_voltage;    ///< V, from line to line
  double kva;              ///< rated power of the two pairs that have this winding
  double turns_deviation;  ///< of the ratio of H to this winding from the rated one, percent
  LimbWinding winding;
  double impedance_percent_h;  ///< on the nameplate, with H and at `kva`; 0 if it has none
  double impedance_percent_x;  ///< the same with X
  UnitFaults faults;           ///< of this winding, as those of a low side
};

/// The unit that a test of this pair meets. What the winding that is left out still does: a delta
/// carries what the limbs have in common, and shorted turns carry current. `h_x` is the unit of H
/// and X alone. REQUIRES: no autotransformer, no burden, and that the group of H and Y exists.
TransformerUnit unit_of_pair(const TransformerUnit& h_x, const ThirdWinding& third,
                             WindingPair pair);

}  // namespace virtual_instrument

#pragma once

#include "virtual_instrument/model/equivalent_circuit.h"

namespace virtual_instrument {

/// Without saturation: 11/0.433 kV, 500 kVA, 50 Hz, Dyn11.
inline TransformerUnit three_phase_unit() {
  static const TransformerUnit unit =
      unit_from_tests({{KVR_WINDING_D, KVR_WINDING_YN, 11}, 11000, 433, 500, 50, 1, 0.1, 0.6},
                      {Side::low, 433, 4, 1000}, {Side::high, 495, 26.243, 5500});
  return unit;
}

/// The same with a core that saturates, takes more current at low flux, and can keep flux.
inline TransformerUnit saturating_three_phase_unit() {
  TransformerUnit unit = three_phase_unit();
  MagnetizingBranch& limb = unit.core.limb;
  limb.knee_flux = 1.15 * rated_flux(unit);
  limb.knee_width = 0.08 * rated_flux(unit);
  limb.saturated_inductance = limb.inductance / 500;
  limb.low_flux_excess = 1.5;
  limb.low_flux = 0.02 * rated_flux(unit);
  unit.core.remanence_excess = 2;
  return unit;
}

/// Without saturation: 20 kVA, 8000/240 V, 60 Hz.
inline TransformerUnit single_phase_unit() {
  static const TransformerUnit unit =
      unit_from_tests({{KVR_WINDING_1P, KVR_WINDING_1P, 0}, 8000, 240, 20, 60, 0, 0.1, 0.5},
                      {Side::high, 8000, 0.214, 400}, {Side::high, 489, 2.5, 240});
  return unit;
}

}  // namespace virtual_instrument

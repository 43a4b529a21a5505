#pragma once

#include "virtual_instrument/measurement/measurements.h"

// Results with everything that hangs from them, as they cross the boundary. Each struct is a `new`
// of its own and each array a `new[]`. The caller owns the result; free_nest() of
// record_form/record_shape.h frees it.

namespace virtual_instrument {

kvr_TestData_Ratio_3ph* new_data(const ThreePhaseRatio& result);
kvr_TestData_Resistance* new_data(const ResistanceTest& test);
kvr_TestData_Demag* new_data(const DemagTest& test);
kvr_TestData_Impedance* new_data(const ImpedanceTest& test);
kvr_TestData_Drm* new_data(const DynamicResistanceTest& test);

}  // namespace virtual_instrument

#pragma once

#include "virtual_instrument/measurement/measurements.h"

// Results with nests of pointers, as they cross the boundary. Each struct is a `new` of its own and
// each array of pointers a `new[]`, as is the array of an impedance list's tests and that of a
// dynamic resistance result's transitions. Whoever calls new_data() hands its result to
// delete_data(), which takes the whole nest back; null is fine.

namespace virtual_instrument {

kvr_TestData_Ratio_3ph* new_data(const ThreePhaseRatio& result);
kvr_TestData_Resistance* new_data(const ResistanceTest& test);
kvr_TestData_Demag* new_data(const DemagTest& test);
kvr_TestData_Impedance* new_data(const ImpedanceTest& test);
kvr_TestData_Drm* new_data(const DynamicResistanceTest& test);

void delete_data(kvr_TestData_Ratio_3ph* data);
void delete_data(kvr_TestData_Resistance* data);
void delete_data(kvr_TestData_Demag* data);
void delete_data(kvr_TestData_Impedance* data);
void delete_data(kvr_TestData_Drm* data);

}  // namespace virtual_instrument

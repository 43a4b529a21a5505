#pragma once

#include <string_view>

#include "api/result_records.h"

// The names of the records that a test record is made of, for visitors of record_shape.h.
namespace tape {

#define KVR_NAME(record) \
  inline std::string_view name_of(const record&) { return #record; }
KVR_NAME(kvr_TestRecord)
KVR_NAME(kvr_TestData_Ratio_3ph)
KVR_NAME(kvr_TestData_Ratio_1ph)
KVR_NAME(kvr_TestData_MagneticBalance)
KVR_NAME(kvr_TestData_Resistance)
KVR_NAME(kvr_TestData_Sides)
KVR_NAME(kvr_TestData_Taps)
KVR_NAME(kvr_TestData_Tap)
KVR_NAME(kvr_TestData_Point)
KVR_NAME(kvr_TestData_Transition)
KVR_NAME(kvr_TestData_Demag)
KVR_NAME(kvr_TestData_Demag_Phase)
KVR_NAME(kvr_TestData_Efficiency)
KVR_NAME(kvr_TestData_Impedance)
KVR_NAME(kvr_TestData_Impedance_List)
KVR_NAME(kvr_TestData_Impedance_SingleTest)
KVR_NAME(kvr_TestData_Drm)
KVR_NAME(kvr_TestData_Drm_Transition)
KVR_NAME(kvr_TestData_GoNoGo)
#undef KVR_NAME

}  // namespace tape

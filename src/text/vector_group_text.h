#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "api/result_records.h"

// The name of a vector group, such as "YNd1".

struct kvr_VectorGroup {
  kvr_WindingType h_type;
  kvr_WindingType x_type;
  std::int32_t clock;  ///< or kClockUnknown
  float phase_shift;   ///< of the low side, rad
};

/// The letters of both windings, the clock number ("X" when it is not known) and the phase shift in
/// whole degrees, if it is above 4.
std::string VectorGroupText(kvr_WindingType h_type, kvr_WindingType x_type, std::int32_t clock,
                            float phase_shift);
std::string VectorGroupText(const kvr_VectorGroup& group);

/// The vector group that has this name, in upper or lower case: with a clock number from 0 to 11 or
/// "X", and up to 180 degrees of shift after a "+". Throws KVR_RES_VECTOR_GROUP_INCORRECT for any
/// other text.
kvr_VectorGroup vector_group_from_text(std::string_view text);

/// The vector group of the pair that `setup` joins. Throws as Utils::winding_h does.
std::string SetupVectorText(const kvr_TestSetup* setup);

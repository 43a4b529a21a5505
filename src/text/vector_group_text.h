#pragma once

#include <cstdint>
#include <string>

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

/// The vector group of the pair that `setup` joins. Throws as Utils::winding_h does.
std::string SetupVectorText(const kvr_TestSetup* setup);

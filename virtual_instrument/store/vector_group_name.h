#pragma once

#include <string>

#include "api/request_records.h"

namespace virtual_instrument {

/// The name of the vector group that a setup joins, as in reports: "YNd1", followed by "+30" for a
/// phase shift of 30 degrees. Empty for a setup that joins no known pair of windings.
std::string vector_group_name(const kvr_TestSetup& setup);

}  // namespace virtual_instrument

#pragma once

#include <string_view>

#include "api/request_records.h"

// Requests as the console tester makes them.

namespace virtual_instrument {

/// A setup with a nameplate of `ratio` : 1; 0 for none.
kvr_TestSetup setup_with_ratio(float ratio);

kvr_Ratio1phRequest ratio_1ph_request(kvr_TestType type, float voltage, float ratio = 0);

kvr_Ratio3phRequest ratio_3ph_request(kvr_TestType type, float voltage, kvr_WindingType high,
                                      kvr_WindingType low, float ratio = 0);

kvr_TestRequestHeader request_header(std::string_view record_id, kvr_SaveMode save_mode);

}  // namespace virtual_instrument

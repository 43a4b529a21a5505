#pragma once

#include <cstdint>
#include <string>

#include "api/request_records.h"
#include "api/result_records.h"
#include "virtual_instrument/bench/bench.h"

// The ratio tests: from a request and a bench to a result. No state: the same request, bench and
// seed always give the same result.

namespace virtual_instrument {

template <typename Data>
struct RatioOutcome {
  kvr_code code;         ///< anything but KVR_RES_OK: there is no result
  Data data;             ///< the request repeated, and the result
  std::string raw_data;  ///< empty if it was not asked for
};

/// KVR_RES_OK, or the code that says why the instrument of `bench` can't do this test.
kvr_code check_ratio_1ph(const kvr_Ratio1phRequest& request, const Bench& bench);
kvr_code check_ratio_3ph(const kvr_Ratio3phRequest& request, const Bench& bench);

/// REQUIRES: the request was checked. `seed` fixes the noise.
RatioOutcome<kvr_TestData_Ratio_1ph> measure_ratio_1ph(const kvr_Ratio1phRequest& request,
                                                       const Bench& bench, std::uint64_t seed);
RatioOutcome<kvr_TestData_Ratio_3ph> measure_ratio_3ph(const kvr_Ratio3phRequest& request,
                                                       const Bench& bench, std::uint64_t seed);

}  // namespace virtual_instrument

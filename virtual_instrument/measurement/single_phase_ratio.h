#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "api/request_records.h"
#include "api/result_records.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/model/transformer_unit.h"

// The ratio test with one source, on one pair of terminals of each side, for any unit. It has no
// state: the same unit, request, bench and seed always give the same result.

namespace virtual_instrument {

struct SinglePhaseRatio {
  kvr_code code;                        ///< there is a result only with KVR_RES_OK
  kvr_TestData_Ratio_1ph data;          ///< the request repeated, and the result
  std::string raw_data;                 ///< empty if not requested
  std::array<double, 3> residual_flux;  ///< Vs, in the limbs after the test
};

/// KVR_RES_OK, or why the instrument of `bench` can't do this test.
kvr_code check_single_phase_ratio(const kvr_Ratio1phRequest& request, const Bench& bench);

/// REQUIRES: the request was checked. Uses only the instrument and the measurement of the bench;
/// the unit replaces its transformer. `seed` fixes the noise.
SinglePhaseRatio measure_single_phase_ratio(const TransformerUnit& unit,
                                            const kvr_Ratio1phRequest& request, const Bench& bench,
                                            std::uint64_t seed);

}  // namespace virtual_instrument

#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "api/request_records.h"
#include "api/result_records.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/model/transformer_unit.h"

// The ratio test with one source, between one pair of terminals of each side, on any unit. No
// state: the same unit, request, bench and seed always give the same result.

namespace virtual_instrument {

struct SinglePhaseRatio {
  kvr_code code;                        ///< without KVR_RES_OK there is no result
  kvr_TestData_Ratio_1ph data;          ///< the request repeated, and the result
  std::string raw_data;                 ///< empty if it was not asked for
  std::array<double, 3> residual_flux;  ///< Vs, what the test left in the limbs
};

/// KVR_RES_OK, or the code that says why the instrument of `bench` can't do this test.
kvr_code check_single_phase_ratio(const kvr_Ratio1phRequest& request, const Bench& bench);

/// REQUIRES: the request was checked. Uses only the instrument and the measurement of the bench;
/// the unit replaces its transformer. `seed` fixes the noise.
SinglePhaseRatio measure_single_phase_ratio(const TransformerUnit& unit,
                                            const kvr_Ratio1phRequest& request, const Bench& bench,
                                            std::uint64_t seed);

}  // namespace virtual_instrument

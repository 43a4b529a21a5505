#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "api/request_records.h"
#include "api/result_records.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/model/transformer_unit.h"

// The three-phase ratio test of any unit: with a three-phase source or one winding after the other,
// stepping down or up. Everything in the result is computed from samples, the vector group too. No
// state: the same unit, request, bench and seed always give the same result.

namespace virtual_instrument {

struct ThreePhaseRatio {
  kvr_code code;  ///< accepted, KVR_RES_PARTIAL_RESULT_CHECK_STATUS included: there is a result
  kvr_TestData_Ratio_3ph data;                      ///< with nothing nested
  std::optional<kvr_TestData_Ratio_3ph> step_up;    ///< of an automatic test, if it was possible
  std::optional<kvr_TestData_Ratio_3ph> step_down;  ///< the same
  std::string raw_data;                             ///< empty if it was not asked for
  std::array<double, 3> residual_flux;              ///< Vs, what the test left in the limbs
};

/// KVR_RES_OK, or the code that says why the instrument of `bench` can't do this test.
kvr_code check_three_phase_ratio(const kvr_Ratio3phRequest& request, const Bench& bench);

/// REQUIRES: the request was checked. Uses only the instrument and the measurement of the bench;
/// the unit replaces its transformer. `seed` fixes the noise.
ThreePhaseRatio measure_three_phase_ratio(const TransformerUnit& unit,
                                          const kvr_Ratio3phRequest& request, const Bench& bench,
                                          std::uint64_t seed);

}  // namespace virtual_instrument

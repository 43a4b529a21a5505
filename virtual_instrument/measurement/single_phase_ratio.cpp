#include "virtual_instrument/measurement/single_phase_ratio.h"

#include <cstddef>
#include <iterator>
#include <stdexcept>

#include "virtual_instrument/measurement/leads.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

/// The selections 1 to 6 of a request: lines to each other, then lines to the neutral.
constexpr TerminalPair kSelections[] = {{1, 2}, {2, 3}, {3, 1}, {1, 0}, {2, 0}, {3, 0}};
constexpr bool is_selection(std::int32_t number) {
  return number >= 1 && number <= static_cast<std::int32_t>(std::size(kSelections));
}

constexpr bool is_single_phase_test(kvr_TestType type) {
  return type == KVR_TEST_RATIO_DOWN || type == KVR_TEST_RATIO_UP || type == KVR_TEST_RATIO_AUTO ||
         type == KVR_TEST_RATIO_CT || type == KVR_TEST_RATIO_PT_VT;
}

/// A CT test excites the low side, as stepping up does: a current transformer has more turns there.
constexpr Side excited_side(kvr_TestType direction) {
  return direction == KVR_TEST_RATIO_UP || direction == KVR_TEST_RATIO_CT ? Side::low : Side::high;
}

struct SinglePhaseAttempt {
  kvr_code code;
  kvr_TestType direction;
  SampledTest samples;  ///< only of an attempt without an open lead
};

class SinglePhaseRatioTest {
 public:
  SinglePhaseRatioTest(const TransformerUnit& unit, const kvr_Ratio1phRequest& request,
                       const Bench& bench, Noise& noise)
      : unit_(unit),
        request_(request),
        bench_(bench),
        noise_(noise),
        pairs_{kSelections[request.high_side_phase - 1], kSelections[request.low_side_phase - 1]} {}

  SinglePhaseRatio run() {
    const SinglePhaseAttempt test = settled_attempt();
    SinglePhaseRatio result{test.code, repeat_request<kvr_TestData_Ratio_1ph>(request_), {}, {}};
    result.residual_flux = unit_.core.residual_flux;
    if (test.code == KVR_RES_OK) {
      fill(result, test);
    }
    return result;
  }

 private:
  /// An automatic test steps down first, then steps up if should_step_up() says so.
  SinglePhaseAttempt settled_attempt() {
    if (request_.test_type != KVR_TEST_RATIO_AUTO) {
      return attempt(request_.test_type);
    }
    SinglePhaseAttempt down = attempt(KVR_TEST_RATIO_DOWN);
    return down.code == KVR_RES_OK && should_step_up(down.samples, request_.test_voltage, bench_)
               ? attempt(KVR_TEST_RATIO_UP)
               : down;
  }

  SinglePhaseAttempt attempt(kvr_TestType direction) {
    SinglePhaseAttempt made{lead_code(unit_, Side::high, pairs_[Side::high]), direction, {}};
    if (made.code == KVR_RES_OK) {
      made.code = lead_code(unit_, Side::low, pairs_[Side::low]);
    }
    if (made.code != KVR_RES_OK) {
      return made;
    }
    const Side side = excited_side(direction);
    const PairMeasurement measurement{side,
                                      pairs_[side],
                                      request_.test_voltage,
                                      static_cast<double>(request_.setup.line_frequency),
                                      other_side(side),
                                      pairs_[other_side(side)]};
    const PeriodicState state = excite_pair(unit_network(unit_, kInputResistance), measurement);
    unit_.core.residual_flux = residual_flux_after(unit_.core, state.peak_flux);
    made.samples = sample_pair(state, measurement, bench_.measurement, noise_);
    made.code = limit(made);
    return made;
  }

  kvr_code limit(const SinglePhaseAttempt& made) const {
    const double ratio =
        rms(made.samples.voltage[Side::high]) / rms(made.samples.voltage[Side::low]);
    return made.direction == KVR_TEST_RATIO_UP && ratio > kHighestStepUpRatio
               ? KVR_STEPUP_1PH_RATIO_TOO_HIGH
               : check_limits(made.samples, 0, bench_.instrument);
  }

  void fill(SinglePhaseRatio& result, const SinglePhaseAttempt& test) const {
    const WindingPair windings = pair_of(request_.setup);
    const std::string high = pair_name(Side::high, pairs_[Side::high], windings);
    const std::string low = pair_name(Side::low, pairs_[Side::low], windings);
    const PhaseNames names{kPhaseNames[index(pairs_[Side::high].plus - 1)], high, low};
    result.data.direction = test.direction;
    result.data.reference_ratio = nameplate_ratio(request_.setup);
    result.data.phase =
        phase_result(test.samples, names,
                     {test.direction == KVR_TEST_RATIO_CT, 1, result.data.reference_ratio,
                      entered_phase_shift(request_.setup), 0});
    if (request_.setup.raw_data_requested != 0) {
      result.raw_data = raw_text(test.samples, names);
    }
  }

  TransformerUnit unit_;  ///< each excitation changes its residual flux
  const kvr_Ratio1phRequest& request_;
  const Bench& bench_;
  Noise& noise_;
  const BySide<TerminalPair> pairs_;
};

}  // namespace

kvr_code check_single_phase_ratio(const kvr_Ratio1phRequest& request, const Bench& bench) {
  if (!is_single_phase_test(request.test_type)) {
    return KVR_RES_TESTING_METHOD_NOT_SUPPORTED;
  }
  if (!is_selection(request.high_side_phase) || !is_selection(request.low_side_phase)) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  return check_setup(request.setup, request.test_voltage, bench);
}

SinglePhaseRatio measure_single_phase_ratio(const TransformerUnit& unit,
                                            const kvr_Ratio1phRequest& request, const Bench& bench,
                                            std::uint64_t seed) {
  Noise noise(seed);
  try {
    return SinglePhaseRatioTest(unit, request, bench, noise).run();
  } catch (const std::runtime_error&) {
    // No steady state: a real source would try to reach its voltage, then give up.
    return {KVR_RES_NO_EXCITATION, {}, {}, unit.core.residual_flux};
  }
}

}  // namespace virtual_instrument

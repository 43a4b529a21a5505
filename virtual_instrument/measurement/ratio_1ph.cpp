#include <cstdint>
#include <iterator>

#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/measurement/ratio_test.h"
#include "virtual_instrument/model/transformer.h"

namespace virtual_instrument {
namespace {

/// By the terminal pairs 1 to 6 of a request: phases to each other, then phases to the neutral.
constexpr PhaseNames kTerminalPairs[] = {
    {"A", "H1-H2", "X1-X2"}, {"B", "H2-H3", "X2-X3"}, {"C", "H3-H1", "X3-X1"},
    {"A", "H1-H0", "X1-X0"}, {"B", "H2-H0", "X2-X0"}, {"C", "H3-H0", "X3-X0"},
};

constexpr bool is_terminal_pair(std::int32_t pair) {
  return pair >= 1 && pair <= static_cast<std::int32_t>(std::size(kTerminalPairs));
}

PhaseNames names_of(const kvr_Ratio1phRequest& request) {
  const PhaseNames& high = kTerminalPairs[request.high_side_phase - 1];
  return {high.phase, high.high, kTerminalPairs[request.low_side_phase - 1].low};
}

bool is_single_phase_test(kvr_TestType type) {
  return type == KVR_TEST_RATIO_DOWN || type == KVR_TEST_RATIO_UP || type == KVR_TEST_RATIO_AUTO ||
         type == KVR_TEST_RATIO_CT;
}

struct Attempt {
  kvr_TestType direction;
  SampledTest samples;
};

Attempt attempt(kvr_TestType direction, const kvr_Ratio1phRequest& request, const Bench& bench,
                Noise& noise) {
  const Excitation excitation{direction == KVR_TEST_RATIO_DOWN ? Side::high : Side::low,
                              request.test_voltage,
                              static_cast<double>(request.setup.line_frequency)};
  const Waveforms waveforms = excite(make_transformer(bench.transformer), excitation);
  return {direction, sample(waveforms, excitation, bench.measurement, noise)};
}

/// An automatic test steps down first, and keeps that unless stepping up promises more.
Attempt run(const kvr_Ratio1phRequest& request, const Bench& bench, Noise& noise) {
  if (request.test_type != KVR_TEST_RATIO_AUTO) {
    return attempt(request.test_type, request, bench, noise);
  }
  Attempt down = attempt(KVR_TEST_RATIO_DOWN, request, bench, noise);
  return should_step_up(down.samples, request.test_voltage, bench)
             ? attempt(KVR_TEST_RATIO_UP, request, bench, noise)
             : down;
}

}  // namespace

kvr_code check_ratio_1ph(const kvr_Ratio1phRequest& request, const Bench& bench) {
  if (!is_single_phase_test(request.test_type)) {
    return KVR_RES_TESTING_METHOD_NOT_SUPPORTED;
  }
  if (!is_terminal_pair(request.high_side_phase) || !is_terminal_pair(request.low_side_phase)) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  return check_setup(request.setup, request.test_voltage, bench);
}

RatioOutcome<kvr_TestData_Ratio_1ph> measure_ratio_1ph(const kvr_Ratio1phRequest& request,
                                                       const Bench& bench, std::uint64_t seed) {
  Noise noise(seed);
  const Attempt test = run(request, bench, noise);
  RatioOutcome<kvr_TestData_Ratio_1ph> outcome{check_limits(test.samples, bench.instrument),
                                               repeat_request<kvr_TestData_Ratio_1ph>(request),
                                               {}};
  if (outcome.code != KVR_RES_OK) {
    return outcome;
  }
  const PhaseNames names = names_of(request);
  outcome.data.direction = test.direction;
  outcome.data.reference_ratio = nameplate_ratio(request.setup);
  outcome.data.phase =
      phase_result(test.samples, names,
                   {test.direction == KVR_TEST_RATIO_CT, 1, outcome.data.reference_ratio,
                    entered_phase_shift(request.setup), 0});
  if (request.setup.raw_data_requested != 0) {
    outcome.raw_data = raw_text(test.samples, names);
  }
  return outcome;
}

}  // namespace virtual_instrument

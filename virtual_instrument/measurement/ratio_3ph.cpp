#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <optional>

#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/measurement/ratio_test.h"
#include "virtual_instrument/model/bank.h"

namespace virtual_instrument {
namespace {

constexpr std::array<PhaseNames, 3> kPhases{
    {{"A", "H1-H2", "X1-X2"}, {"B", "H2-H3", "X2-X3"}, {"C", "H3-H1", "X3-X1"}}};

using ThreeTests = std::array<SampledTest, 3>;
using ThreePhasors = std::array<std::complex<double>, 3>;

struct Attempt {
  kvr_TestType direction;
  ThreeTests samples;
};

Attempt attempt(kvr_TestType direction, const kvr_Ratio3phRequest& request, const Bench& bench,
                Noise& noise) {
  const Excitation excitation{direction == KVR_TEST_RATIO_DOWN ? Side::high : Side::low,
                              request.test_voltage,
                              static_cast<double>(request.setup.line_frequency)};
  const std::array<Waveforms, 3> terminals =
      excite_bank(make_transformer(bench.transformer), bench.transformer.vector_group, excitation);
  Attempt result{direction, {}};
  std::transform(terminals.begin(), terminals.end(), result.samples.begin(),
                 [&](const Waveforms& waveforms) {
                   return sample(waveforms, excitation, bench.measurement, noise);
                 });
  return result;
}

Attempt run(const kvr_Ratio3phRequest& request, const Bench& bench, Noise& noise) {
  if (request.test_type != KVR_TEST_RATIO_AUTO) {
    return attempt(request.test_type, request, bench, noise);
  }
  Attempt down = attempt(KVR_TEST_RATIO_DOWN, request, bench, noise);
  return should_step_up(down.samples[0], request.test_voltage, bench)
             ? attempt(KVR_TEST_RATIO_UP, request, bench, noise)
             : down;
}

/// Symmetrical components of three phasors.
struct Sequences {
  std::complex<double> positive;
  std::complex<double> negative;
  std::complex<double> zero;
};

Sequences sequences(const ThreePhasors& x) {
  const std::complex<double> forward = std::polar(1.0, 2 * std::numbers::pi / 3);
  const std::complex<double> back = std::conj(forward);
  return {(x[0] + forward * x[1] + back * x[2]) / 3.0, (x[0] + back * x[1] + forward * x[2]) / 3.0,
          (x[0] + x[1] + x[2]) / 3.0};
}

Sequences sequences(const ThreeTests& tests, Samples SampledTest::*channel) {
  ThreePhasors phasors;
  std::transform(tests.begin(), tests.end(), phasors.begin(), [channel](const SampledTest& test) {
    return fundamental(test.*channel, test.samples_per_period);
  });
  return sequences(phasors);
}

/// From the worst of the figures, each a fraction.
kvr_HealthState health(std::initializer_list<double> figures) {
  struct Grade {
    double below;
    kvr_HealthState state;
  };
  constexpr Grade kGrades[] = {
      {0.001, KVR_HEALTH_EXCELLENT}, {0.005, KVR_HEALTH_GOOD}, {0.02, KVR_HEALTH_MODERATE}};
  const double worst = std::max(figures);
  for (const Grade& grade : kGrades) {
    if (worst < grade.below) {
      return grade.state;
    }
  }
  return KVR_HEALTH_BAD;
}

float magnitude(const std::complex<double>& value) { return static_cast<float>(std::abs(value)); }
float angle(const std::complex<double>& value) { return static_cast<float>(std::arg(value)); }

/// What all three phases tell together. Distortion is what the transformer adds: a component of the
/// low side against its positive sequence, less the same of the high side.
void fill_summary(kvr_TestData_Ratio_3ph& data, const ThreeTests& tests) {
  const Sequences high = sequences(tests, &SampledTest::voltage_high);
  const Sequences low = sequences(tests, &SampledTest::voltage_low);
  const std::complex<double> negative = low.negative / low.positive - high.negative / high.positive;
  const std::complex<double> zero = low.zero / low.positive - high.zero / high.positive;

  data.positive_seq_hi = magnitude(high.positive);
  data.positive_phase_hi = angle(high.positive);
  data.negative_seq_hi = magnitude(high.negative);
  data.negative_phase_hi = angle(high.negative);
  data.zero_seq_hi = magnitude(high.zero);
  data.zero_phase_hi = angle(high.zero);
  data.positive_seq_lo = magnitude(low.positive);
  data.positive_phase_lo = angle(low.positive);
  data.negative_seq_lo = magnitude(low.negative);
  data.negative_phase_lo = angle(low.negative);
  data.zero_seq_lo = magnitude(low.zero);
  data.zero_phase_lo = angle(low.zero);
  data.negative_distortion_index = magnitude(negative);
  data.negative_distortion_phase = angle(negative);
  data.zero_distortion_index = magnitude(zero);
  data.zero_distortion_phase = angle(zero);
  data.ratio_3ph = std::abs(high.positive) / std::abs(low.positive) * data.tvr_multiplier;
  data.ratio_3ph_error = error_percent(data.ratio_3ph, data.reference_ratio * data.tvr_multiplier);
  data.phase_3ph = static_cast<float>(folded(std::arg(high.positive) - std::arg(low.positive)));
  data.health_state =
      health({std::abs(negative), std::abs(zero), std::abs(data.ratio_3ph_error) / 100});
}

}  // namespace

kvr_code check_ratio_3ph(const kvr_Ratio3phRequest& request, const Bench& bench) {
  if (request.test_type != KVR_TEST_RATIO_DOWN && request.test_type != KVR_TEST_RATIO_UP &&
      request.test_type != KVR_TEST_RATIO_AUTO) {
    return KVR_RES_TESTING_METHOD_NOT_SUPPORTED;
  }
  if (request.testing_mode < KVR_TESTING_MODE_3PH_3_3 ||
      request.testing_mode > KVR_TESTING_MODE_3PH_AUTO ||
      (request.tested_phase != kAllPhases &&
       (request.tested_phase < 0 || request.tested_phase > 2))) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  // Exciting one coil alone drives the others through deltas and star points, which takes a model
  // of the windings as a network.
  if (request.testing_mode == KVR_TESTING_MODE_3PH_1_1) {
    return KVR_RES_NOT_IMPLEMENTED;
  }
  const kvr_code code = check_setup(request.setup, request.test_voltage, bench);
  if (code != KVR_RES_OK) {
    return code;
  }
  return turns_per_line_ratio(request.setup.windings[0].winding_type,
                              request.setup.windings[1].winding_type)
             ? KVR_RES_OK
             : KVR_RES_NOT_IMPLEMENTED;
}

RatioOutcome<kvr_TestData_Ratio_3ph> measure_ratio_3ph(const kvr_Ratio3phRequest& request,
                                                       const Bench& bench, std::uint64_t seed) {
  Noise noise(seed);
  const Attempt test = run(request, bench, noise);
  RatioOutcome<kvr_TestData_Ratio_3ph> outcome{
      KVR_RES_OK, repeat_request<kvr_TestData_Ratio_3ph>(request), {}};
  kvr_TestData_Ratio_3ph& data = outcome.data;
  for (const SampledTest& samples : test.samples) {
    outcome.code = check_limits(samples, bench.instrument);
    if (outcome.code != KVR_RES_OK) {
      return outcome;
    }
  }
  data.test_type = test.direction;
  if (request.testing_mode == KVR_TESTING_MODE_3PH_AUTO) {
    data.testing_mode = KVR_TESTING_MODE_3PH_3_3;
  }
  data.reference_ratio = nameplate_ratio(request.setup);
  // What the operator says of the windings counts, not what stands on the bench.
  data.tvr_multiplier = *turns_per_line_ratio(request.setup.windings[0].winding_type,
                                              request.setup.windings[1].winding_type);
  const RatioRules rules{false, data.tvr_multiplier, data.reference_ratio,
                         entered_phase_shift(request.setup), std::numbers::pi / 6};
  for (std::int32_t phase = 0; phase < 3; ++phase) {
    const auto index = static_cast<std::size_t>(phase);
    if (request.tested_phase != kAllPhases && request.tested_phase != phase) {
      data.phases[phase].status = KVR_RES_NOT_TESTED;
      continue;
    }
    data.phases[phase] = phase_result(test.samples[index], kPhases[index], rules);
    if (request.setup.raw_data_requested != 0) {
      outcome.raw_data += raw_text(test.samples[index], kPhases[index]);
    }
  }
  if (request.tested_phase == kAllPhases) {
    fill_summary(data, test.samples);
  }
  return outcome;
}

}  // namespace virtual_instrument

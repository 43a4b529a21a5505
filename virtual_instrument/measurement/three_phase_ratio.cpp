#include "virtual_instrument/measurement/three_phase_ratio.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "virtual_instrument/measurement/clock_search.h"
#include "virtual_instrument/measurement/one_source.h"
#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/measurement/three_phase_result.h"
#include "virtual_instrument/measurement/three_phase_source.h"
#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

struct ThreePhaseAttempt {
  DirectionResult result;
  std::array<double, 3> residual_flux;
  int clock;  ///< as it was found
};

/// The order of steps of a test in one direction.
class ThreePhaseRatioTest {
 public:
  ThreePhaseRatioTest(const TransformerUnit& unit, const kvr_Ratio3phRequest& request,
                      const Bench& bench, Noise& noise)
      : request_(request),
        circuit_(unit, request, bench, noise),
        group_(entered_windings(request.setup)) {
    request_.testing_mode = settled_mode();
  }

  /// `clock` spares finding it with one source.
  ThreePhaseAttempt run(std::optional<int> clock = std::nullopt) {
    if (request_.testing_mode == KVR_TESTING_MODE_3PH_1_1) {
      one_by_one(clock);
    } else {
      all_at_once();
    }
    return {three_phase_result(request_, readings_),
            residual_flux_after(circuit_.unit.core, circuit_.peak_flux), group_.clock};
  }

 private:
  bool is_tested(int phase) const {
    return request_.tested_phase == kAllPhases || request_.tested_phase == phase;
  }

  /// An automatic test of all phases uses the three-phase source, one of one phase does not.
  kvr_TestingMode settled_mode() const {
    if (request_.testing_mode != KVR_TESTING_MODE_3PH_AUTO) {
      return request_.testing_mode;
    }
    return request_.tested_phase == kAllPhases ? KVR_TESTING_MODE_3PH_3_3
                                               : KVR_TESTING_MODE_3PH_1_1;
  }

  void one_by_one(std::optional<int> clock) {
    const FoundClock found =
        clock ? FoundClock{KVR_RES_OK, *clock}
              : find_clock_with_one_source(circuit_, group_, connection_of(request_.setup).clock);
    group_.clock = found.clock;
    if (found.code != KVR_RES_OK) {
      refuse(found.code);
      return;
    }
    read_tested([this](int phase, const PhaseConnection& wiring) {
      return read_alone(circuit_, group_, phase, wiring);
    });
  }

  void all_at_once() {
    if (const kvr_code code = source_code(circuit_, group_); code != KVR_RES_OK) {
      refuse(code);
      return;
    }
    const std::vector<VoltageSource> sources = three_phase_sources(circuit_, group_);
    const PeriodicState state = circuit_.solve(circuit_.network, sources);
    Lines lines = sample_lines(circuit_, group_, state, sources);
    const FoundClock found = find_clock_of_lines(group_, line_voltages(circuit_, lines));
    group_.clock = found.clock;
    if (found.code != KVR_RES_OK) {
      refuse(found.code);
      return;
    }
    read_tested([&](int phase, const PhaseConnection& wiring) {
      if (request_.testing_mode == KVR_TESTING_MODE_3PH_3_1 && phase > 0) {
        lines = sample_lines(circuit_, group_, state, sources);
      }
      return read_lines(circuit_, group_, phase, wiring, lines);
    });
  }

  void refuse(kvr_code code) {
    for (int phase = 0; phase < 3; ++phase) {
      if (is_tested(phase)) {
        readings_[index(phase)].code = code;
      }
    }
  }

  template <typename Read>
  void read_tested(Read read) {
    const std::vector<PhaseConnection> wirings = phase_connections(group_);
    for (int phase = 0; phase < 3; ++phase) {
      if (is_tested(phase)) {
        readings_[index(phase)] = read(phase, wirings[index(phase)]);
      }
    }
  }

  kvr_Ratio3phRequest request_;
  TestCircuit circuit_;
  WindingGroup group_;  ///< the windings as they were entered, the clock as it was found
  std::array<PhaseReading, 3> readings_;
};

bool is_direction(kvr_TestType type) {
  return type == KVR_TEST_RATIO_DOWN || type == KVR_TEST_RATIO_UP;
}

/// The voltage at which an automatic test steps up: the one asked for, or as much less as the high
/// side needs to stay within what the instrument can take.
double step_up_voltage(const ThreePhaseAttempt& down, const kvr_Ratio3phRequest& request,
                       const InstrumentSettings& limits) {
  constexpr double kMargin = 0.9;
  return std::min<double>(request.test_voltage,
                          kMargin * limits.maximum_induced_voltage / down.result.voltage_ratio);
}

ThreePhaseRatio outcome(const ThreePhaseAttempt& attempt) {
  const DirectionResult& result = attempt.result;
  return {result.code,  result.data,     std::nullopt,
          std::nullopt, result.raw_data, attempt.residual_flux};
}

bool has_result(kvr_code code) {
  return code == KVR_RES_OK || code == KVR_RES_PARTIAL_RESULT_CHECK_STATUS;
}

/// Both directions; the one that steps down counts unless it leaves too little to measure.
ThreePhaseRatio measure_both(TransformerUnit unit, const kvr_Ratio3phRequest& request,
                             const Bench& bench, Noise& noise) {
  kvr_Ratio3phRequest directed = request;
  directed.test_type = KVR_TEST_RATIO_DOWN;
  const ThreePhaseAttempt down = ThreePhaseRatioTest(unit, directed, bench, noise).run();
  ThreePhaseRatio result = outcome(down);
  if (!has_result(down.result.code)) {
    return result;
  }
  result.step_down = down.result.data;
  const double voltage = step_up_voltage(down, request, bench.instrument);
  if (down.result.voltage_ratio > kHighestStepUpRatio ||
      voltage < bench.instrument.minimum_voltage) {
    return result;
  }
  unit.core.residual_flux = down.residual_flux;
  directed.test_type = KVR_TEST_RATIO_UP;
  directed.test_voltage = static_cast<float>(voltage);
  const ThreePhaseAttempt up = ThreePhaseRatioTest(unit, directed, bench, noise).run(down.clock);
  result.residual_flux = up.residual_flux;
  if (!has_result(up.result.code)) {
    return result;
  }
  result.step_up = up.result.data;
  if (down.result.least_low_voltage < bench.measurement.smallest_voltage) {
    result.code = up.result.code;
    result.data = up.result.data;
  }
  result.raw_data += up.result.raw_data;
  return result;
}

}  // namespace

kvr_code check_three_phase_ratio(const kvr_Ratio3phRequest& request, const Bench& bench) {
  if (!is_direction(request.test_type) && request.test_type != KVR_TEST_RATIO_AUTO) {
    return KVR_RES_TESTING_METHOD_NOT_SUPPORTED;
  }
  if (request.testing_mode < KVR_TESTING_MODE_3PH_3_3 ||
      request.testing_mode > KVR_TESTING_MODE_3PH_AUTO ||
      (request.tested_phase != kAllPhases &&
       (request.tested_phase < 0 || request.tested_phase > 2))) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  const kvr_code code = check_setup(request.setup, request.test_voltage, bench);
  if (code != KVR_RES_OK) {
    return code;
  }
  const kvr_TestSetup& setup = request.setup;
  WindingGroup group = entered_windings(setup);
  if (!is_three_phase(group.high) || !is_three_phase(group.low)) {
    return KVR_RES_VECTOR_GROUP_INCORRECT;
  }
  // An angle comes with a clock of 0, whatever the windings are.
  group.clock = connection_of(setup).clock;
  const bool by_clock =
      group.clock != kClockUnknown && winding_of(setup, Side::low).phase_shift == 0;
  return by_clock && group.clock != 0 && !exists(group) ? KVR_RES_PHASING_INCORRECT : KVR_RES_OK;
}

ThreePhaseRatio measure_three_phase_ratio(const TransformerUnit& unit,
                                          const kvr_Ratio3phRequest& request, const Bench& bench,
                                          std::uint64_t seed) {
  Noise noise(seed);
  try {
    return request.test_type == KVR_TEST_RATIO_AUTO
               ? measure_both(unit, request, bench, noise)
               : outcome(ThreePhaseRatioTest(unit, request, bench, noise).run());
  } catch (const std::runtime_error&) {
    // No steady state: the source would hunt for a voltage until it gave up.
    return {KVR_RES_NO_EXCITATION, {}, std::nullopt, std::nullopt, {}, unit.core.residual_flux};
  }
}

}  // namespace virtual_instrument

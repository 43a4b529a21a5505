#include "virtual_instrument/session/failed_phases.h"

#include <cstddef>
#include <cstring>
#include <string_view>

namespace virtual_instrument {
namespace {

void fail(kvr_TestData_Ratio_Phase& phase, kvr_code code) {
  kvr_TestData_Ratio_Phase failed{};
  failed.status = code;
  std::memcpy(failed.phase_name, phase.phase_name, sizeof failed.phase_name);
  std::memcpy(failed.high_side_phase, phase.high_side_phase, sizeof failed.high_side_phase);
  std::memcpy(failed.low_side_phase, phase.low_side_phase, sizeof failed.low_side_phase);
  phase = failed;
}

void clear_summary(kvr_TestData_Ratio_3ph& data) {
  for (float* value :
       {&data.zero_seq_hi, &data.zero_seq_lo, &data.zero_phase_hi, &data.zero_phase_lo,
        &data.zero_distortion_index, &data.zero_distortion_phase, &data.negative_seq_hi,
        &data.negative_seq_lo, &data.negative_phase_hi, &data.negative_phase_lo,
        &data.negative_distortion_index, &data.negative_distortion_phase, &data.positive_seq_hi,
        &data.positive_seq_lo, &data.positive_phase_hi, &data.positive_phase_lo, &data.phase_3ph}) {
    *value = 0;
  }
  data.ratio_3ph = data.ratio_3ph_error = 0;
  data.health_state = KVR_HEALTH_BAD;
}

void fail_phases(const Fault& fault, kvr_TestData_Ratio_3ph& data) {
  for (std::size_t phase = 0; phase < fault.failed_phases.size(); ++phase) {
    if (fault.failed_phases[phase]) {
      fail(data.phases[phase], fault.phase_code);
      clear_summary(data);
    }
  }
}

}  // namespace

void fail_phases(const Fault& fault, SinglePhaseRatio& result) {
  constexpr std::string_view kPhases = "ABC";
  const std::size_t phase = kPhases.find(result.data.phase.phase_name[0]);
  if (phase < fault.failed_phases.size() && fault.failed_phases[phase]) {
    fail(result.data.phase, fault.phase_code);
  }
}

void fail_phases(const Fault& fault, ThreePhaseRatio& result) {
  fail_phases(fault, result.data);
  for (auto* nested : {&result.step_up, &result.step_down}) {
    if (*nested) {
      fail_phases(fault, **nested);
    }
  }
}

}  // namespace virtual_instrument

#include "sample_records.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <stdexcept>

namespace {

/// Numbers like those of measurements.
class Measured {
 public:
  template <typename Number>
  void fill(Number& number) {
    number = static_cast<Number>(std::uniform_real_distribution(0.01, 900.0)(random_));
  }
  template <typename... Numbers>
  void fill_all(Numbers&... numbers) {
    (fill(numbers), ...);
  }
  void fill_angles(std::initializer_list<float*> angles) {
    for (float* const angle : angles) {
      *angle = std::uniform_real_distribution(-3.1F, 3.1F)(random_);
    }
  }
  void fill(kvr_TestData_Ratio_Phase& phase) {
    phase.status = KVR_RES_OK;
    fill_all(phase.voltage_h, phase.voltage_x, phase.tnr, phase.tnr_error, phase.tvr,
             phase.frequency, phase.efi, phase.voltage_rms, phase.current_rms, phase.vol_rms_high,
             phase.vol_rms_low, phase.curr_h, phase.curr_x, phase.induced_voltage);
    fill_angles({&phase.phase_high, &phase.phase_low, &phase.phase_shift_absolute,
                 &phase.phase_deviation_from_user_phasing});
  }
  void fill(kvr_TestData_Ratio_3ph& result) {
    for (kvr_TestData_Ratio_Phase& phase : result.phases) {
      fill(phase);
    }
    fill_all(result.positive_seq_hi, result.negative_seq_hi, result.zero_seq_hi,
             result.positive_seq_lo, result.negative_seq_lo, result.zero_seq_lo,
             result.negative_distortion_index, result.zero_distortion_index, result.ratio_3ph,
             result.ratio_3ph_error, result.tvr_multiplier);
    fill_angles({&result.positive_phase_hi, &result.negative_phase_hi, &result.zero_phase_hi,
                 &result.positive_phase_lo, &result.negative_phase_lo, &result.zero_phase_lo,
                 &result.negative_distortion_phase, &result.zero_distortion_phase,
                 &result.phase_3ph});
  }

 private:
  std::mt19937 random_{1};
};

}  // namespace

OwnedRecord golden_record(const std::string& name) {
  const std::string path = std::string(KVR_GOLDEN_RECORDS) + "/" + name + ".record";
  std::ifstream file(path);
  if (!file) {
    throw std::runtime_error("can't read " + path);
  }
  return parse_record(std::string(std::istreambuf_iterator<char>(file), {}), path);
}

OwnedRecord impedance_sweep() {
  constexpr std::uint32_t kTests = 30;
  OwnedRecord owned = golden_record("impedance-three-phase");
  kvr_TestData_Impedance_List& list = *owned.get()->data_impedance[0]->tests;
  auto* const tests = owned.arena().make_array<kvr_TestData_Impedance_SingleTest>(kTests);
  std::fill_n(tests, kTests, list.tests[0]);
  list = {tests, kTests};
  return owned;
}

OwnedRecord three_phase_ratio() {
  OwnedRecord owned = golden_record("ratio-three-phase");
  Measured().fill(*owned.get()->data_ratio_3ph[0]);
  return owned;
}

OwnedRecord single_phase_ratio() {
  OwnedRecord owned = golden_record("ratio-single-phase");
  Measured().fill(owned.get()->data_ratio_1ph[0]->phase);
  return owned;
}

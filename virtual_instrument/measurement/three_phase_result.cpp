#include "virtual_instrument/measurement/three_phase_result.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <optional>

#include "virtual_instrument/measurement/clock_search.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/model/index.h"
#include "virtual_instrument/model/sequence.h"
#include "virtual_instrument/vocabulary/text_field.h"

namespace virtual_instrument {
namespace {

using Readings = std::array<PhaseReading, 3>;

PhaseNames names(const kvr_TestData_Ratio_Phase& phase) {
  return {phase.phase_name, phase.high_side_phase, phase.low_side_phase};
}

template <std::size_t size>
void fill_name(char (&field)[size], const std::string& name) {
  std::memset(field, 0, size);
  fill_field(field, name);
}

void fill_phase(kvr_TestData_Ratio_3ph& data, int phase, const PhaseReading& reading,
                std::optional<double> entered_shift) {
  const WindingPair windings = pair_of(data.setup);
  const std::string high = pair_name(Side::high, reading.wiring.pairs[Side::high], windings);
  const std::string low = pair_name(Side::low, reading.wiring.pairs[Side::low], windings);
  const double reference = data.reference_ratio * data.tvr_multiplier;
  // phase_result() compares the ratio of the pair's voltages with one of the same pair.
  const RatioRules rules{false, reading.turns_per_voltage_ratio,
                         reference / reading.turns_per_voltage_ratio, entered_shift,
                         reading.voltage_lead};
  kvr_TestData_Ratio_Phase& result = data.phases[phase];
  result = phase_result(reading.pair, {kPhaseNames[index(phase)], high, low}, rules);
  result.tvr = reading.line_ratio > 0 ? reading.line_ratio : result.tnr / data.tvr_multiplier;
  fill_name(result.tvr_high, pair_name(Side::high, line_pair(phase), windings));
  fill_name(result.tvr_low, pair_name(Side::low, line_pair(phase), windings));
  const double shift = angle(reading.high * std::conj(reading.low));
  result.phase_high = static_cast<float>(angle(reading.high));
  result.phase_low = static_cast<float>(angle(reading.low));
  result.phase_shift_absolute = static_cast<float>(shift);
  result.phase_deviation_from_user_phasing =
      static_cast<float>(phase_deviation(shift, entered_shift));
}

void fill(float& size, float& phase, Complex value) {
  size = static_cast<float>(magnitude(value));
  phase = static_cast<float>(angle(value));
}

/// From the worst of all figures, each as a fraction or in radians.
kvr_HealthState health(const kvr_TestData_Ratio_3ph& data) {
  double worst = std::max<double>(data.negative_distortion_index, data.zero_distortion_index);
  worst = std::max(worst, std::abs(data.ratio_3ph_error) / 100);
  for (const kvr_TestData_Ratio_Phase& phase : data.phases) {
    worst = std::max(worst, std::abs(phase.tnr_error) / 100);
    worst = std::max<double>(worst, std::abs(phase.phase_deviation_from_user_phasing));
  }
  struct Grade {
    double below;
    kvr_HealthState state;
  };
  constexpr Grade kGrades[] = {
      {0.001, KVR_HEALTH_EXCELLENT}, {0.005, KVR_HEALTH_GOOD}, {0.02, KVR_HEALTH_MODERATE}};
  for (const Grade& grade : kGrades) {
    if (worst < grade.below) {
      return grade.state;
    }
  }
  return KVR_HEALTH_BAD;
}

/// What all three phases show together. Distortion is what the unit adds: a component of the low
/// side against its positive sequence, less what the source's own brings there.
void fill_summary(kvr_TestData_Ratio_3ph& data, const Readings& readings) {
  const SequenceComponents high =
      sequence_components({readings[0].high, readings[1].high, readings[2].high});
  const SequenceComponents low =
      sequence_components({readings[0].low, readings[1].low, readings[2].low});
  const Complex shift =
      quotient(high.positive, low.positive) / magnitude(quotient(high.positive, low.positive));
  // A vector group turns the negative sequence the other way round than the positive one.
  const Complex negative =
      quotient(low.negative, low.positive) - quotient(high.negative, high.positive) * shift * shift;
  const Complex zero = quotient(low.zero, low.positive);

  fill(data.positive_seq_hi, data.positive_phase_hi, high.positive);
  fill(data.negative_seq_hi, data.negative_phase_hi, high.negative);
  fill(data.zero_seq_hi, data.zero_phase_hi, high.zero);
  fill(data.positive_seq_lo, data.positive_phase_lo, low.positive);
  fill(data.negative_seq_lo, data.negative_phase_lo, low.negative);
  fill(data.zero_seq_lo, data.zero_phase_lo, low.zero);
  fill(data.negative_distortion_index, data.negative_distortion_phase, negative);
  fill(data.zero_distortion_index, data.zero_distortion_phase, zero);
  data.ratio_3ph = magnitude(high.positive) / magnitude(low.positive) * data.tvr_multiplier;
  data.ratio_3ph_error = error_percent(data.ratio_3ph, data.reference_ratio * data.tvr_multiplier);
  data.phase_3ph = static_cast<float>(angle(shift));
  data.health_state = health(data);
}

double turns_factor_of(const kvr_TestSetup& setup) {
  return turns_factor(first_group(entered_windings(setup)));
}

/// The first code of a failed phase; KVR_RES_OK if none failed.
kvr_code first_failure(const Readings& readings) {
  for (const PhaseReading& reading : readings) {
    if (reading.code != KVR_RES_OK && reading.code != KVR_RES_NOT_TESTED) {
      return reading.code;
    }
  }
  return KVR_RES_OK;
}

}  // namespace

DirectionResult three_phase_result(const kvr_Ratio3phRequest& request,
                                   const std::array<PhaseReading, 3>& readings) {
  DirectionResult result{KVR_RES_OK, repeat_request<kvr_TestData_Ratio_3ph>(request), {}, 0, 0};
  kvr_TestData_Ratio_3ph& data = result.data;
  data.tvr_multiplier = turns_factor_of(request.setup);
  data.reference_ratio = nameplate_ratio(request.setup);
  int good = 0;
  for (int phase = 0; phase < 3; ++phase) {
    const PhaseReading& reading = readings[index(phase)];
    if (reading.code != KVR_RES_OK) {
      data.phases[phase].status = reading.code;
      continue;
    }
    fill_phase(data, phase, reading, entered_phase_shift(request.setup));
    ++good;
    const double low = rms(reading.pair.voltage[Side::low]);
    const double ratio = rms(reading.pair.voltage[Side::high]) / low;
    result.least_low_voltage = good == 1 ? low : std::min(result.least_low_voltage, low);
    result.voltage_ratio = std::max(result.voltage_ratio, ratio);
    if (request.setup.raw_data_requested != 0) {
      result.raw_data += raw_text(reading.pair, names(data.phases[phase]));
    }
  }
  const kvr_code failure = first_failure(readings);
  if (good == 3) {
    fill_summary(data, readings);
  } else if (failure != KVR_RES_OK) {
    data.health_state = KVR_HEALTH_BAD;
    result.code = good > 0 ? KVR_RES_PARTIAL_RESULT_CHECK_STATUS : failure;
  }
  return result;
}

}  // namespace virtual_instrument

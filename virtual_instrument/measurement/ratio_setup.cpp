#include "virtual_instrument/measurement/ratio_setup.h"

#include <cmath>
#include <numbers>

#include "virtual_instrument/bench/bench_unit.h"

namespace virtual_instrument {
namespace {

bool is_possible_voltage(float voltage, const InstrumentSettings& instrument) {
  // A voltage that is not a number fails both comparisons.
  return voltage >= instrument.minimum_voltage && voltage <= instrument.maximum_voltage;
}

bool is_voltage(float voltage) { return std::isfinite(voltage) && voltage >= 0; }

}  // namespace

kvr_code check_setup(const kvr_TestSetup& setup, float test_voltage, const Bench& bench) {
  if (!is_possible_voltage(test_voltage, bench.instrument)) {
    return KVR_RES_UNSUPPORTED_VOLTAGE;
  }
  if (setup.line_frequency != 50 && setup.line_frequency != 60) {
    return KVR_RES_FREQUENCY_NOT_SUPPORTED;
  }
  if (setup.connection_type > kConnectionXToY) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  if (!has_pair(bench, pair_of(setup))) {
    return KVR_RES_TEST_CONFIG_INCOMPATIBLE;
  }
  const float high = winding_of(setup, Side::high).voltage;
  const float low = winding_of(setup, Side::low).voltage;
  if (!is_voltage(high) || !is_voltage(low) || (high > 0 && low == 0)) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  return std::isfinite(winding_of(setup, Side::low).phase_shift) ? KVR_RES_OK
                                                                 : KVR_RES_INCORRECT_PARAMETERS;
}

double nameplate_ratio(const kvr_TestSetup& setup) {
  const double high = winding_of(setup, Side::high).voltage;
  return high == 0 ? 0 : high / winding_of(setup, Side::low).voltage;
}

std::optional<double> entered_phase_shift(const kvr_TestSetup& setup) {
  const std::int32_t clock = connection_of(setup).clock;
  const double angle = winding_of(setup, Side::low).phase_shift;
  if (clock == kClockUnknown) {
    return angle == 0 ? std::nullopt : std::optional(angle);
  }
  return (clock % 12) * std::numbers::pi / 6 + angle;
}

WindingGroup entered_windings(const kvr_TestSetup& setup) {
  return {winding_of(setup, Side::high).winding_type, winding_of(setup, Side::low).winding_type, 0};
}

kvr_code check_limits(const SampledTest& test, double voltage_lead,
                      const InstrumentSettings& limits) {
  const Samples& source = test.voltage[test.excited];
  const Samples& induced = test.voltage[other_side(test.excited)];
  const Samples& current = test.current[test.excited];
  if (rms(current) > limits.maximum_current) {
    return KVR_RES_EXCITATION_CURRENT_TOO_HIGH;
  }
  if (rms(induced) > limits.maximum_induced_voltage) {
    return KVR_RES_INDUCED_VOLTAGE_TOO_HIGH;
  }
  if (peak(source) > limits.voltage_range || peak(induced) > limits.voltage_range ||
      peak(current) > limits.current_range) {
    return KVR_RES_ADC_OVERFLOW;
  }
  const Complex power = fundamental(source, test.samples_per_period) *
                        std::conj(fundamental(current, test.samples_per_period)) *
                        phasor_at(-voltage_lead / (2 * std::numbers::pi));
  // Windings and leads always have some capacitance; here its current exceeds all others.
  return -power.imag() > std::abs(power.real()) ? KVR_RES_DETECTED_CAPACITANCE : KVR_RES_OK;
}

bool should_step_up(const SampledTest& stepped_down, double test_voltage, const Bench& bench) {
  const double low = rms(stepped_down.voltage[Side::low]);
  const double ratio = rms(stepped_down.voltage[Side::high]) / low;
  return low < bench.measurement.smallest_voltage && ratio <= kHighestStepUpRatio &&
         test_voltage * ratio <= bench.instrument.maximum_induced_voltage;
}

}  // namespace virtual_instrument

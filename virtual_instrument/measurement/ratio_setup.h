#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <optional>

#include "api/request_records.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/samples.h"

// What both ratio tests make of the setup that they are asked to measure.

namespace virtual_instrument {

/// An otherwise empty result with the body of its request repeated in it.
template <typename Data, typename Request>
Data repeat_request(const Request& request) {
  constexpr std::size_t kOffset = 128;
  std::array<std::byte, sizeof(Data)> bytes{};
  static_assert(kOffset + sizeof(request) <= sizeof(bytes));
  std::memcpy(bytes.data() + kOffset, &request, sizeof(request));
  Data data;
  std::memcpy(&data, bytes.data(), bytes.size());
  return data;
}

/// KVR_RES_OK, or why the instrument can't test this setup at this voltage.
kvr_code check_setup(const kvr_TestSetup& setup, float test_voltage, const Bench& bench);

/// The nameplate's ratio of voltages; 0 if none was given. REQUIRES: a checked setup.
double nameplate_ratio(const kvr_TestSetup& setup);

/// The phase shift that the operator entered, in rad: by a clock number, an angle, or both. None if
/// neither is known.
std::optional<double> entered_phase_shift(const kvr_TestSetup& setup);

/// Beyond this ratio of voltages the instrument does not step up.
inline constexpr double kHighestStepUpRatio = 500;

/// KVR_RES_OK, or what the instrument's protection makes of a test: a sample beyond its converters,
/// a current or an induced voltage beyond its limits, a current that leads like a capacitor's.
/// `voltage_lead` in rad is that of the measured voltage before the one that drives the current.
kvr_code check_limits(const SampledTest& test, double voltage_lead,
                      const InstrumentSettings& limits);

/// Whether an automatic test, having stepped down, is better done the other way round: the low side
/// gives too little to measure, and neither the ratio nor the high side's voltage is too much.
bool should_step_up(const SampledTest& stepped_down, double test_voltage, const Bench& bench);

}  // namespace virtual_instrument

#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <optional>

#include "api/request_records.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/samples.h"

// How both ratio tests check and read a setup, and what protects the instrument.

namespace virtual_instrument {

/// A result that is empty but for a copy of its request's body.
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

/// The windings that the operator entered, with a clock of 0.
WindingGroup entered_windings(const kvr_TestSetup& setup);

/// The highest ratio of voltages at which the instrument steps up.
inline constexpr double kHighestStepUpRatio = 500;

/// KVR_RES_OK, or why the instrument's protection ends a test: a sample beyond the range of the
/// converters, a current or an induced voltage beyond its limit, a current that leads like a
/// capacitor's. The measured voltage leads the one that drives the current by `voltage_lead` rad.
kvr_code check_limits(const SampledTest& test, double voltage_lead,
                      const InstrumentSettings& limits);

/// Whether an automatic test steps up after stepping down: the voltage of the low side was too
/// small to measure, and stepping up keeps the ratio and the high side's voltage within limits.
bool should_step_up(const SampledTest& stepped_down, double test_voltage, const Bench& bench);

}  // namespace virtual_instrument

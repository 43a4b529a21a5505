#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "support/filled_field.h"
#include "support/scripted_client_api.h"

kvr_DeviceInfo default_device_info() {
  constexpr std::int64_t kNoonInMarch = 1614942000;  // 5 March 2021, 11:00 UTC
  constexpr std::int64_t kDay = 86400;
  kvr_DeviceInfo info{};
  fill_text(info.serial_number, "SN-0042");
  fill_text(info.hardware_version, "H7");
  fill_text(info.software_version, "1.2");
  fill_text(info.firmware_version, "3.1.4");
  info.device_date_time = kNoonInMarch;
  info.calibrated = 1;
  info.calibration_date = kNoonInMarch - 100 * kDay;
  info.model_tier = 30;
  return info;
}

kvr_Status healthy_status() {
  kvr_Status status{};
  status.database_loaded = 1;
  status.measurement_board_connected = 1;
  status.secondary_sd_mounted = 1;
  return status;
}

namespace {

/// A record with one result, in one piece.
template <class Result>
struct RecordOfOne {
  kvr_TestRecord record{};
  Result result{};
  Result* results[1] = {&result};
  std::string raw_data;
};

template <class Result>
std::shared_ptr<RecordOfOne<Result>> record_of_one(const std::string& record_id, kvr_TestType type,
                                                   const kvr_TestSetup& setup) {
  auto whole = std::make_shared<RecordOfOne<Result>>();
  kvr_TestRecord& record = whole->record;
  fill_text(record.record_id, record_id);
  record.test_count = 1;
  record.test_type = type;
  record.setup = setup;
  fill_text(record.timestamp, "05.03.2021 12:00:00");
  record.data_count = 1;
  whole->raw_data = "raw data of " + record_id + "\n";
  record.raw_data = whole->raw_data.c_str();
  return whole;
}

/// A result carries the body of its request.
template <class Result, class Request>
void repeat_request(Result& result, std::size_t offset, const Request& request) {
  static_assert(sizeof(Result) > sizeof(Request));
  std::memcpy(reinterpret_cast<char*>(&result) + offset, &request, sizeof(request));
}

/// Values whose decimal text is short and exact, for tests that compare it.
kvr_TestData_Ratio_Phase plausible_phase(std::string_view name, float voltage) {
  kvr_TestData_Ratio_Phase phase{};
  fill_text(phase.phase_name, name);
  fill_text(phase.high_side_phase, "H1-H2");
  fill_text(phase.low_side_phase, "X1-X2");
  fill_text(phase.tvr_name, name);
  fill_text(phase.tvr_high, "H1-H2");
  fill_text(phase.tvr_low, "X1-X2");
  phase.voltage_h = voltage;
  phase.voltage_x = voltage / 16;
  phase.tnr = 16;
  phase.tnr_error = 0.25;
  phase.tvr = 15.5;
  phase.frequency = 60;
  phase.phase_high = 0.5F;
  phase.phase_low = 0.25F;
  phase.phase_shift_absolute = 0.25F;
  phase.efi = 1.5F;
  phase.voltage_rms = voltage;
  phase.current_rms = 0.125F;
  phase.vol_rms_high = voltage;
  phase.vol_rms_low = voltage / 16;
  phase.curr_h = 0.0625F;
  phase.curr_x = 0.5F;
  phase.induced_voltage = 2;
  return phase;
}

double reference_ratio(const kvr_TestSetup& setup) {
  const auto [high, low, tertiary] = setup.windings;
  return low.voltage == 0.0F ? 0.0 : static_cast<double>(high.voltage / low.voltage);
}

}  // namespace

std::shared_ptr<kvr_TestRecord> ratio_1ph_record(const std::string& record_id,
                                                 const kvr_Ratio1phRequest& request) {
  const auto whole =
      record_of_one<kvr_TestData_Ratio_1ph>(record_id, request.test_type, request.setup);
  kvr_TestData_Ratio_1ph& result = whole->result;
  repeat_request(result, offsetof(kvr_TestData_Ratio_1ph, direction), request);
  if (request.test_type == KVR_TEST_RATIO_AUTO) {
    result.direction = KVR_TEST_RATIO_UP;
  }
  result.reference_ratio = reference_ratio(request.setup);
  result.phase = plausible_phase("A", request.test_voltage);
  whole->record.data_ratio_1ph = whole->results;
  return {whole, &whole->record};
}

std::shared_ptr<kvr_TestRecord> ratio_3ph_record(const std::string& record_id,
                                                 const kvr_Ratio3phRequest& request) {
  const auto whole =
      record_of_one<kvr_TestData_Ratio_3ph>(record_id, request.test_type, request.setup);
  kvr_TestData_Ratio_3ph& result = whole->result;
  repeat_request(result, offsetof(kvr_TestData_Ratio_3ph, setup), request);
  result.reference_ratio = reference_ratio(request.setup);
  result.tvr_multiplier = 1;
  constexpr std::string_view kNames[] = {"A", "B", "C"};
  for (std::size_t i = 0; i < std::size(kNames); ++i) {
    result.phases[i] = plausible_phase(kNames[i], request.test_voltage);
  }
  result.ratio_3ph = 16;
  result.health_state = KVR_HEALTH_GOOD;
  whole->record.data_ratio_3ph = whole->results;
  return {whole, &whole->record};
}

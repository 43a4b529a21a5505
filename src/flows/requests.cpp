#include "flows/requests.h"

#include <numbers>

#include "console/session.h"
#include "utils/text_utils.h"

namespace {

constexpr float kStartingTestVoltage = 250.0F;
constexpr float kLimitA = 0.5F;
constexpr float kLimitB = 0.00872665F;  // half a degree in radians

void fill_constants(kvr_TestSetup& setup) {
  for (kvr_WindingSetup& winding : setup.windings) {
    winding.winding_setting = 1;
  }
  setup.windings[1].voltage = 1.0F;
  setup.connection_type = kConnectionHToX;
  setup.connections[0].clock = kClockUnknown;
  setup.line_frequency = 60;
  setup.setup_value_a = 0;
  setup.setup_value_b = 1;
  setup.temperature_from = 20.0F;
  setup.temperature_to = 75.0F;
  setup.setup_value_c = 100.0F;
  setup.setup_value_d = 1.0F;
  setup.setup_flag_a = 1;
  setup.setup_flag_b = 1;
}

template <typename Request>
void fill_common_constants(Request& request) {
  fill_constants(request.setup);
  request.test_voltage = kStartingTestVoltage;
  request.request_flag_a = 1;
  request.request_flag_b = 0;
  request.limit_a = kLimitA;
  request.limit_b = kLimitB;
}

}  // namespace

kvr_Ratio1phRequest make_ratio_1ph_request() {
  kvr_Ratio1phRequest request{};
  fill_common_constants(request);
  request.high_side_phase = 1;
  request.low_side_phase = 1;
  return request;
}

kvr_Ratio3phRequest make_ratio_3ph_request() {
  kvr_Ratio3phRequest request{};
  fill_common_constants(request);
  request.testing_mode = KVR_TESTING_MODE_3PH_AUTO;
  request.test_type = KVR_TEST_RATIO_AUTO;
  request.tested_phase = kAllPhases;
  return request;
}

void set_nameplate_ratio(kvr_TestSetup& setup, double ratio) {
  setup.windings[0].voltage = static_cast<float>(ratio);
  setup.windings[1].voltage = 1.0F;
}

void set_clock(kvr_TestSetup& setup, std::int32_t clock) { setup.connections[0].clock = clock; }

void set_phase_shift(kvr_TestSetup& setup, double degrees) {
  set_clock(setup, 0);
  setup.windings[1].phase_shift = static_cast<float>(degrees * std::numbers::pi / 180);
}

kvr_SaveMode save_mode_for(bool first, bool series) {
  if (device_status.secondary_sd_read_only != 0 || device_status.database_loaded == 0) {
    return KVR_SAVE_NOTHING;
  }
  return !first && series ? KVR_SAVE_ADD_TO_RECORD : KVR_SAVE_NEW_RECORD;
}

kvr_TestRequestHeader make_request_header(const std::string& test_id, kvr_SaveMode save_mode) {
  kvr_TestRequestHeader header{};
  header.save_mode = KVR_SAVE_NOTHING;
  if (!test_id.empty()) {
    TextUtils::copy_safe("generic2", header.record_id, sizeof header.record_id, test_id);
    header.save_mode = save_mode;
  }
  return header;
}

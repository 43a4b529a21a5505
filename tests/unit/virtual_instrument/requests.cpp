#include "unit/virtual_instrument/requests.h"

#include "virtual_instrument/vocabulary/text_field.h"

namespace virtual_instrument {

kvr_TestSetup setup_with_ratio(float ratio) {
  kvr_TestSetup setup{};
  setup.windings[0].voltage = ratio;
  setup.windings[1].voltage = 1;
  for (kvr_WindingSetup& winding : setup.windings) {
    winding.winding_setting = 1;
  }
  setup.connections[0].clock = kClockUnknown;
  setup.line_frequency = 60;
  setup.setup_value_b = 1;
  setup.temperature_from = 20;
  setup.temperature_to = 75;
  setup.setup_value_c = 100;
  setup.setup_value_d = 1;
  setup.setup_flag_a = 1;
  setup.raw_data_requested = 1;
  setup.setup_flag_b = 1;
  return setup;
}

kvr_Ratio1phRequest ratio_1ph_request(kvr_TestType type, float voltage, float ratio) {
  kvr_Ratio1phRequest request{};
  request.test_type = type;
  request.high_side_phase = 1;
  request.low_side_phase = 1;
  request.setup = setup_with_ratio(ratio);
  request.test_voltage = voltage;
  request.request_flag_a = 1;
  request.limit_a = 0.5F;
  request.limit_b = 0.00872665F;
  return request;
}

kvr_Ratio3phRequest ratio_3ph_request(kvr_TestType type, float voltage, kvr_WindingType high,
                                      kvr_WindingType low, float ratio) {
  kvr_Ratio3phRequest request{};
  request.setup = setup_with_ratio(ratio);
  request.setup.windings[0].winding_type = high;
  request.setup.windings[1].winding_type = low;
  request.testing_mode = KVR_TESTING_MODE_3PH_AUTO;
  request.test_type = type;
  request.tested_phase = kAllPhases;
  request.test_voltage = voltage;
  request.request_flag_a = 1;
  request.limit_a = 0.5F;
  request.limit_b = 0.00872665F;
  return request;
}

kvr_TestRequestHeader request_header(std::string_view record_id, kvr_SaveMode save_mode) {
  kvr_TestRequestHeader header{};
  fill_field(header.record_id, record_id);
  header.save_mode = save_mode;
  return header;
}

}  // namespace virtual_instrument

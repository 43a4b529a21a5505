#include "flows/single_phase.h"

#include <iostream>

#include "common/errors.h"
#include "console/prompts.h"
#include "console/session.h"
#include "flows/requests.h"
#include "flows/run_files.h"
#include "flows/voltage_plan.h"
#include "flows/voltage_run.h"

namespace {

constexpr std::int32_t kUndefinedInstrumentType = 1000;

/// The test type of a menu choice. Choice 4, which the menu does not show, is a step down test.
kvr_TestType test_type_of_choice(std::int32_t choice) {
  constexpr kvr_TestType kTestTypes[] = {KVR_TEST_RATIO_AUTO, KVR_TEST_RATIO_DOWN,
                                         KVR_TEST_RATIO_UP, KVR_TEST_RATIO_DOWN, KVR_TEST_RATIO_CT};
  return kTestTypes[choice - 1];
}

void choose_sides(kvr_Ratio1phRequest& request) {
  const std::int32_t type = device_info.instrument_type;
  if (type == kUndefinedInstrumentType) {
    throw kvr_exception(KVR_RES_INSTRUMENT_TYPE_NOT_SUPPORTED, "undefined instrument type", kLogged,
                        "Single_Phase");
  }
  if (type != 0 && type != 1) {
    return;
  }
  std::cout << "Hi Side connection:\n";
  choose_high_side_phase(request.high_side_phase, request.high_side_extra);
  std::cout << "Low Side connection:\n";
  choose_low_side_phase(request.low_side_phase, request.low_side_extra);
}

}  // namespace

void Single_Phase() {
  std::cout << "\nChoose Measurement Type\n"
               "1. Auto Test 1 Ph\n"
               "2. Ratio 1 Ph Step DOWN\n"
               "3. Ratio 1 Ph Step UP\n"
               "5. CT Test 1 Ph\n"
               "0. Exit\n";
  const std::int32_t choice = read_int();
  if (choice < 1 || choice > 5) {
    return;
  }
  kvr_Ratio1phRequest request = make_ratio_1ph_request();
  request.test_type = test_type_of_choice(choice);
  choose_sides(request);
  const VoltagePlan plan = prompt_voltage_plan();
  set_nameplate_ratio(request.setup, prompt_nameplate_ratio());
  run_voltage_plan(plan, ratio_1ph_tests(request));
}

RatioTestKind ratio_1ph_tests(kvr_Ratio1phRequest& request) {
  request.setup.raw_data_requested = raw_data_enabled ? 1 : 0;
  const auto run_test = [&request](float voltage, kvr_TestRequestHeader& header,
                                   kvr_ProgressHandler& progress, kvr_TestRecord*& record) {
    request.test_voltage = voltage;
    return kvr_Test_Ratio_1ph(&header, &request, &progress, &record);
  };
  return {kSinglePhaseColumns, true, run_test, write_single_phase_rows};
}

#include "flows/three_phase.h"

#include <iostream>

#include "console/prompts.h"
#include "console/session.h"
#include "flows/requests.h"
#include "flows/run_files.h"
#include "flows/voltage_run.h"

namespace {

/// Asks how the three phases are excited and measured. True for "Test ALL modes".
bool choose_test_method(kvr_Ratio3phRequest& request) {
  std::cout << "Select test method: \n"
               "1. AUTO\n"
               "2. Excite 3ph, measure 1ph\n"
               "3. Excite 1ph, measure 1ph\n"
               "4. Excite 3ph, measure 3ph\n"
               "5. Simulate test\n"
               "6. Test ALL modes: 3-3, 3-1, 1-1\n";
  const std::int32_t choice = read_int();
  if (choice == 2) {
    request.testing_mode = KVR_TESTING_MODE_3PH_3_1;
  } else if (choice == 3) {
    request.testing_mode = KVR_TESTING_MODE_3PH_1_1;
  } else if (choice == 4) {
    request.testing_mode = KVR_TESTING_MODE_3PH_3_3;
  }
  return choice == 6;  // 5 does not simulate: like any other answer it runs a real AUTO test
}

kvr_WindingType ask_winding(const char* question) {
  std::cout << question;
  return static_cast<kvr_WindingType>(choose_winding_connection());
}

}  // namespace

void three_phase_menu() {
  std::cout << "\nChoose Measurement Type\n"
               "1. Auto Test 3 Ph\n"
               "2. Ratio 3 Ph Step DOWN\n"
               "3. Ratio 3 Ph Step UP\n"
               "\n"
               "13. Median Filter Auto Test\n"
               "0. Exit\n";
  const std::int32_t choice = read_int();
  if (choice < 1 || choice > 3) {
    return;  // 13 too: the menu shows it, but it does nothing
  }
  kvr_Ratio3phRequest request = make_ratio_3ph_request();
  bool all_methods = false;
  if (choice != 1) {
    request.test_type = choice == 2 ? KVR_TEST_RATIO_DOWN : KVR_TEST_RATIO_UP;
    all_methods = choose_test_method(request);
  }
  request.setup.windings[0].winding_type = ask_winding("Select metering HV: \n");
  request.setup.windings[1].winding_type = ask_winding("Select metering LV: \n");
  prompt_phasing(&request);
  VoltagePlan plan = prompt_voltage_plan();
  set_nameplate_ratio(request.setup, prompt_nameplate_ratio());
  if (all_methods) {
    std::cout << "Testing ALL test types.\n";
    plan = for_all_methods(plan);
  }
  run_ratio_3ph_plan(&request, plan, kThreePhaseColumns, !all_methods);
}

void run_ratio_3ph_plan(kvr_Ratio3phRequest* request, const VoltagePlan& plan,
                        const std::string& columns, bool database_allowed) {
  RatioTestKind tests = ratio_3ph_tests(*request, database_allowed);
  tests.columns = columns.c_str();
  run_voltage_plan(plan, tests);
}

RatioTestKind ratio_3ph_tests(kvr_Ratio3phRequest& request, bool database_allowed) {
  request.setup.raw_data_requested = raw_data_enabled ? 1 : 0;
  const auto run_test = [&request](float voltage, kvr_TestRequestHeader& header,
                                   kvr_ProgressHandler& progress, kvr_TestRecord*& record) {
    request.test_voltage = voltage;
    return kvr_Test_Ratio_3ph(&header, &request, &progress, &record);
  };
  return {kThreePhaseColumns, database_allowed, run_test, write_three_phase_rows};
}

namespace {

/// Throws when the answer does not convert.
void set_phasing(kvr_TestSetup& setup, std::string& answer) {
  if (answer.empty()) {
    set_clock(setup, kClockUnknown);
    return;
  }
  if (answer.back() == 'd' || answer.back() == 'D') {
    answer.pop_back();
    set_phase_shift(setup, std::stod(answer));
    std::cout << "Absolute phase shift angle: " << setup.windings[1].phase_shift << '\n';
    return;
  }
  set_clock(setup, std::stoi(answer));
  std::cout << "User entered phasing: " << setup.connections[0].clock << '\n';
}

}  // namespace

void prompt_phasing(kvr_Ratio3phRequest* request) {
  static std::string& line = make_kept_line();
  ask_until_it_converts(
      [] {
        std::cout << "Enter phasing (0-11) or angle (15d for absolute shift, 15 deg), empty for "
                     "unknown: \n";
      },
      line, [request](std::string& answer) { set_phasing(request->setup, answer); });
}

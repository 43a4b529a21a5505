#include "console/session.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "console/stop_handling.h"

namespace {

template <class Record>
const char* zero_or_not(const Record& record) {
  const auto* first = reinterpret_cast<const unsigned char*>(&record);
  return std::all_of(first, first + sizeof record, [](unsigned char byte) { return byte == 0; })
             ? "zero"
             : "not zero";
}

// In a process of its own, so that no other test has changed the session before.
TEST(Session, StartsWithItsNamesAndNothingElse) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        std::cerr << "client_name " << client_name << "\nresults_folder " << results_folder
                  << "\nclient_version " << client_version << "\ndevice_serial " << device_serial
                  << "\ndevice_software_version " << device_software_version << "\nclient_api_info "
                  << zero_or_not(client_api_info) << "\ndevice_info " << zero_or_not(device_info)
                  << "\ndevice_status " << zero_or_not(device_status) << "\nraw_data_enabled "
                  << raw_data_enabled << "\nrun_file_name " << run_file_name
                  << "\nends_with_its_input " << ends_with_its_input << "\nexit_requested "
                  << exit_requested << "\nstop_signal_seen " << stop_signal_seen
                  << "\nstop_handler " << (stop_handler ? "set" : "empty") << '\n';
        std::_Exit(0);
      },
      testing::ExitedWithCode(0),
      testing::Eq("client_name ConsoleTester_x86\n"
                  "results_folder \n"
                  "client_version \n"
                  "device_serial \n"
                  "device_software_version \n"
                  "client_api_info zero\n"
                  "device_info zero\n"
                  "device_status zero\n"
                  "raw_data_enabled 1\n"
                  "run_file_name kvr\n"
                  "ends_with_its_input 0\n"
                  "exit_requested 0\n"
                  "stop_signal_seen 0\n"
                  "stop_handler empty\n"));
}

}  // namespace

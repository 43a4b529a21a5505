#include "support/session_state.h"

#include "console/session.h"
#include "console/stop_handling.h"

void reset_session() {
  client_name = "ConsoleTester_x86";
  results_folder.clear();
  client_version.clear();
  device_serial.clear();
  device_software_version.clear();
  client_api_info = {};
  device_info = {};
  device_status = {};
  raw_data_enabled = true;
  run_file_name = "kvr";
  ends_with_its_input = false;
  exit_requested = false;
  stop_signal_seen = false;
  stop_handler = nullptr;
}

#include "console/device_status.h"

#include <iostream>

#include "api/client_api.h"
#include "common/c_text.h"
#include "console/replies.h"
#include "console/session.h"

namespace {

/// A line of the status display, shown when the flag equals `shown_when`.
struct StatusLine {
  std::uint8_t kvr_Status::*flag;
  bool shown_when;
  const char* text;
};

constexpr StatusLine kStatusLines[] = {
    {&kvr_Status::api_locked, true, "WARNING: API Locked!\n"},
    {&kvr_Status::database_loaded, false, "ERROR: Database not loaded!\n"},
    {&kvr_Status::secondary_sd_mounted, false, "ERROR: Secondary SDCARD not mounted!\n"},
    {&kvr_Status::secondary_sd_read_only, true, "ERROR: Secondary SDCARD READONLY!\n"},
    {&kvr_Status::emergency_button_pressed, true, "WARNING: Emergency Button pressed!\n"},
    {&kvr_Status::primary_sd_error, true, "ERROR: Primary SDCARD ERROR!\n"},
    {&kvr_Status::secondary_sd_error, true, "ERROR: Secondary SDCARD ERROR!\n"},
    {&kvr_Status::measurement_board_connected, false, "ERROR: measurement board not connected!\n"},
};

}  // namespace

void show_device_status() {
  if (!is_accepted(kvr_GetStatus(&device_status))) {
    return;
  }
  for (const StatusLine& line : kStatusLines) {
    if ((device_status.*line.flag != 0) == line.shown_when) {
      std::cout << line.text;
    }
  }
  if (device_status.device_status_code != KVR_RES_OK) {
    std::cout << "\nDEVICE STATUS: ";
    write_c_text(std::cout, kvr_CodeToString(device_status.device_status_code));
    std::cout << '\n';
  }
}

#include "shell/start_up.h"

#include <algorithm>
#include <iostream>
#include <string_view>

#include "api/client_api.h"
#include "common/clock.h"
#include "common/field_text.h"
#include "console/callbacks.h"
#include "console/prompts.h"
#include "console/replies.h"
#include "console/session.h"
#include "console/stop_handling.h"
#include "platform/platform.h"
#include "utils/text_formatting.h"
#include "utils/utils.h"

const char* const kVersion = KVR_VERSION;

Options parse_options(const std::vector<std::string>& arguments) {
  const auto find = [&](std::string_view option) {
    return std::find(arguments.begin(), arguments.end(), option);
  };
  Options options;
  options.debug = find("--debug") != arguments.end();
  options.quiet = find("--quiet") != arguments.end();
  const auto serial_port = find("--serialport");
  if (serial_port != arguments.end() && std::next(serial_port) != arguments.end()) {
    options.serial_port = *std::next(serial_port);
  }
  return options;
}

kvr_InitParams make_init_params(const Options& options) {
  kvr_InitParams params{};
  params.init_mode = 2;
  params.debug_mode = options.debug ? 1 : 0;
  params.quiet_mode = options.quiet ? 1 : 0;
  params.init_setting_a = 1000;
  params.init_setting_b = 50;
  params.status_callback = on_status;
  params.status_context = nullptr;
  return params;
}

bool make_results_folder() {
  if (const auto documents = platform::documents_folder()) {
    results_folder = *documents + platform::kPathSeparator + "KVRU3" + platform::kPathSeparator;
  }
  return Utils::CreateDir(results_folder);
}

namespace {

/// Deliberate: a folder that exists counts as one that can't be made, so every run but the first
/// shows the banner.
void show_results_folder(bool made) {
  if (made) {
    std::cout << "Folder with results: " << results_folder << '\n';
  } else {
    std::cout << "!!!!!!!!!!!!!!!!!!\n"
                 "Can not create folder for results.\n"
                 "!!!!!!!!!!!!!!!!!!\n";
  }
}

}  // namespace

bool start_client_library(const Options& options, kvr_InitParams params) {
  const kvr_code code = options.serial_port.empty()
                            ? kvr_Lib_Initialize(&params)
                            : kvr_Lib_InitializeTestStation(options.serial_port.c_str(), &params);
  if (is_accepted(code)) {
    kvr_SetClientKey(KVR_CLIENT_KEY);
    return true;
  }
  std::cout << "kvr_Lib_Initialize failed!!!\n";
  return false;
}

namespace {

/// The differences between the two ways to connect.
struct ConnectionMethod {
  kvr_ConnectionType type;
  const char* client_name_prefix;
  const char* waiting;
  const char* failed;
};

constexpr ConnectionMethod kUsbOrWifi = {
    KVR_CONNECTION_USB_WIFI, "", "Connecting to the KVRU3 device over USB/WIFI, please wait...\n",
    "Cannot connect to the device over USB!"};

constexpr ConnectionMethod kService = {KVR_CONNECTION_SERVICE, "Service_",
                                       "Connecting to the KVRU3 device via IP, please wait...\n",
                                       "Cannot connect to the device via TCP!"};

}  // namespace

bool connect_to_instrument(kvr_ConnectionType chosen, FirmwareText& firmware_version) {
  const ConnectionMethod& method = chosen == KVR_CONNECTION_SERVICE ? kService : kUsbOrWifi;
  std::cout << method.waiting << std::flush;
  kvr_ConnectionType type = method.type;
  const std::string name = method.client_name_prefix + client_name;
  if (is_accepted(kvr_ConnectAPI(&type, 5, name.c_str(), firmware_version))) {
    return true;
  }
  std::cout << method.failed;
  return false;
}

namespace {

/// Deliberate: the address is not used. A Service connection differs by its type and name only.
void ask_service_address() {
  static std::string& service_ip = make_kept_line();
  std::cout << "Please enter IP address: ";
  read_line(service_ip);
}

/// Repeats until a connection is accepted (true) or the operator cancels (false).
bool ask_until_connected(FirmwareText& firmware_version) {
  while (true) {
    std::cout << "\n== Select connection method ==\n\n"
                 "1. USB/WIFI\n"
                 "2. Service\n"
                 "0. Cancel\n";
    std::fill(std::begin(firmware_version), std::end(firmware_version), '\0');
    const std::int32_t choice = read_int();
    if (choice == 0) {
      return false;
    }
    if (choice == 1 && connect_to_instrument(KVR_CONNECTION_USB_WIFI, firmware_version)) {
      return true;
    }
    if (choice == 2) {
      ask_service_address();
      if (connect_to_instrument(KVR_CONNECTION_SERVICE, firmware_version)) {
        return true;
      }
    }
  }
}

std::string device_time_text(std::int64_t time) {
  return local_time_text(static_cast<std::time_t>(time), "%a, %d.%m.%Y %H:%M:%S");
}

}  // namespace

void show_device(const FirmwareText& firmware_version) {
  std::cout << "Device firmware version: " << field_text(firmware_version);
  kvr_GetClientAPIInfo(&client_api_info);
  client_version = field_text(client_api_info.version);
  if (!is_accepted(kvr_GetDeviceInfo(&device_info))) {
    std::cout << "ERORR getting device information!";
    return;
  }
  device_serial = field_text(device_info.serial_number);
  device_software_version = field_text(device_info.software_version);
  std::cout << "Model type: " << model_tier_text(device_info.model_tier) << '\n'
            << "Serial #: " << device_serial << '\n'
            << "Hardware version: " << field_text(device_info.hardware_version) << '\n'
            << "Software version: " << device_software_version << '\n'
            << "Firmware version: " << field_text(device_info.firmware_version) << '\n'
            << "Device date/time: " << device_time_text(device_info.device_date_time) << '\n'
            << "Debug mode is " << (device_info.debug_mode != 0 ? "ON" : "OFF") << '\n';
  if (device_info.calibrated == 0) {
    std::cout << "Device is not calibrated\n";
    return;
  }
  std::cout << "Device has been calibrated at " << device_time_text(device_info.calibration_date)
            << '\n';
  if (device_info.calibration_old != 0) {
    std::cout << "Calibration old! Please re-calibrate.\n";
  }
}

namespace {

int shut_down() {
  std::cout << "\nExiting...\n" << std::flush;
  kvr_Lib_Shutdown();
  std::cout << "END\n";
  return 0;
}

void connect_and_run(void (*menu)()) {
  std::cout << "Connecting to KVR device...\n";
  FirmwareText firmware_version{};
  if (ask_until_connected(firmware_version)) {
    show_device(firmware_version);
    menu();
  }
}

}  // namespace

int run_session(const std::vector<std::string>& arguments, void (*menu)()) {
  SignalHandler::RegisterStopHandler(stop_or_terminate);
  std::cout << "Console Tester " << kVersion << '\n';
  show_results_folder(make_results_folder());
  const Options options = parse_options(arguments);
  if (!start_client_library(options, make_init_params(options))) {
    return 1;
  }
  try {
    connect_and_run(menu);
  } catch (const EndOfInput&) {  // ends as "0" does
  }
  return shut_down();
}

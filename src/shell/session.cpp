#include "shell/session.h"

std::string client_name = std::string("ConsoleTester_") + "x86";
std::string results_folder;
std::string client_version;
std::string device_serial;
std::string device_software_version;
kvr_ClientAPIInfo client_api_info{};
kvr_DeviceInfo device_info{};
kvr_Status device_status{};
bool raw_data_enabled = true;
std::string run_file_name = "kvr";
bool exit_requested = false;

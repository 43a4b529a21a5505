#include "console/session.h"

std::string& client_name = *new std::string("ConsoleTester_x86");
std::string& results_folder = *new std::string;
std::string& client_version = *new std::string;
std::string& device_serial = *new std::string;
std::string& device_software_version = *new std::string;
kvr_ClientAPIInfo client_api_info{};
kvr_DeviceInfo device_info{};
kvr_Status device_status{};
bool raw_data_enabled = true;
std::string& run_file_name = *new std::string("kvr");
bool ends_with_its_input = false;
bool exit_requested = false;

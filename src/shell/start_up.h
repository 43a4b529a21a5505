#pragma once

#include <string>
#include <vector>

#include "api/session_records.h"

// What the programs share around their menu: options, start-up, connection, shutdown.

/// Version of the programs, as CMakeLists.txt has it.
extern const char* const kVersion;

/// The three options of the command line. Anything else on it is ignored.
struct Options {
  bool debug = false;
  bool quiet = false;
  std::string serial_port;  ///< empty: no test station
};

/// Looks up the options. `arguments` are those of the command line without the program's own path.
/// The first --serialport counts; the next argument is its value, whatever it is.
Options parse_options(const std::vector<std::string>& arguments);

/// The argument of the initialise call.
kvr_InitParams make_init_params(const Options& options);

/// Finds the folder for results and makes it. False when it can't, also because it exists.
bool make_results_folder();

/// Starts the client library and presents the client key. Shows what was refused.
bool start_client_library(const Options& options, kvr_InitParams params);

using FirmwareText = char[kFirmwareTextSize];

/// Connects to the instrument. Shows what was refused.
bool connect_to_instrument(kvr_ConnectionType type, FirmwareText& firmware_version);

/// Asks the connected instrument what it is, and shows it.
void show_device(const FirmwareText& firmware_version);

/// A whole run of the program around `menu`: banner, results folder, client library, connection
/// dialogue, device display, menu, shutdown. Returns the exit status. The menu is left out when the
/// operator cancels the connection; it and the connection dialogue may end by EndOfInput.
int run_session(const std::vector<std::string>& arguments, void (*menu)());

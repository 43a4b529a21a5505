#pragma once

#include <string>

#include "api/session_records.h"

// The state of the running program. Plain storage without a lock: start-up fills it, and the main
// thread is the only one that writes it later, except for exit_requested. The texts are never
// destroyed: a stop signal or a lost connection can end the process from another thread while the
// main thread uses them.

extern std::string& client_name;              ///< name given to the client library
extern std::string& results_folder;           ///< ends in a separator; empty when there is none
extern std::string& client_version;           ///< version of the client library
extern std::string& device_serial;            ///< empty until read from the instrument
extern std::string& device_software_version;  ///< empty until read from the instrument
extern kvr_ClientAPIInfo client_api_info;
extern kvr_DeviceInfo device_info;  ///< all zero if the instrument refused it
extern kvr_Status device_status;    ///< as of when the main menu was last shown
extern bool raw_data_enabled;       ///< tests ask for RAW data and leave a RAW file
/// File of the run in progress, "kvr" between runs. Nothing in this program reads it: it is there
/// for callers beyond it and for debuggers. Only flows/voltage_run.cpp sets it.
extern std::string& run_file_name;

/// The prompts throw EndOfInput at the end of input. A program sets it before it starts any thread.
extern bool ends_with_its_input;

/// Tells the main menu to stop. Set by on_status on the library's thread: a plain flag on purpose,
/// since that thread ends the process a moment later.
extern bool exit_requested;

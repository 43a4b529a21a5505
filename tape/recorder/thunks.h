#pragma once

#include "api/client_api.h"

// Callbacks of the client on their way through the recorder. What the library gets in their place
// lives as long as the process: a library may call back after it should have stopped.
namespace tape {

/// `params` with the recorder's callback in place of the client's; null stays null, and so does a
/// callback.
kvr_InitParams* recorded(const kvr_InitParams* params);

/// The same for the progress callback of a test.
kvr_ProgressHandler* recorded(const kvr_ProgressHandler* handler);

/// Takes what the library has written into its copy back to the client's record.
void copy_back(const kvr_InitParams* copy, kvr_InitParams* params);

}  // namespace tape

#pragma once

#include "api/session_records.h"

// What the client library calls, on threads of its own. Their lines can come in between those of
// the dialogue.

/// Shows a status event. When the connection is gone, ends the program with exit status 1 after a
/// key press.
void on_status(void* context, kvr_code code, const char* text);

/// Shows how far a test has come.
void on_progress(void* context, const kvr_Progress* progress);

#pragma once

#include "api/session_records.h"

// The callbacks that the client library calls on its own threads. Their lines can come between
// those of the dialogue.

/// Shows a status event: the library's words for its code, and its text unless that is null.
void show_status_event(kvr_code code, const char* text);

/// The same, and when the connection is gone, ends the program with exit status 1 after a
/// key press.
void on_status(void* context, kvr_code code, const char* text);

/// Shows how far a test has come.
void on_progress(void* context, const kvr_Progress* progress);

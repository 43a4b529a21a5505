#pragma once

#include <windows.h>

/// The system's own thread routine for a console event: it passes its argument, the event, to the
/// handlers of the process. Its address is the same in every process.
LPTHREAD_START_ROUTINE console_event_routine();

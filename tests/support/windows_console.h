#pragma once

#include <windows.h>

/// What the system has a thread of a process run for a console event: hands the event, its
/// argument, to the process's handlers. It lies in the same place in every process.
LPTHREAD_START_ROUTINE console_event_routine();

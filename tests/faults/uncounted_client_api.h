#pragma once

#include <functional>

#include "api/client_api.h"

// In this test program the calls of the client library need no memory that counted_new counts: it
// is the program's own that fails.

/// Called when the API has been locked, that is when a dialogue is over and its tests begin.
extern std::function<void()> after_lock;

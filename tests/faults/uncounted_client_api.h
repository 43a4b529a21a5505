#pragma once

#include <functional>

#include "api/client_api.h"

// In this test program, client library calls allocate no memory that counted_new counts, so that
// only allocations of the program itself fail.

/// Called after the API has been locked: the dialogue is over and the tests begin.
extern std::function<void()> after_lock;

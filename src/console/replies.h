#pragma once

#include "api/codes.h"

/// The one test of success for a call of the client library: KVR_RES_OK, KVR_RES_CHECK_ERROR_STATUS
/// and KVR_RES_PARTIAL_RESULT_CHECK_STATUS pass silently; any other code is reported.
bool is_accepted(kvr_code code);

/// Reports a refused call to the operator, in the library's words. Always false.
bool report_error(kvr_code code);

#pragma once

#include "api/codes.h"

/// The one test of success for a call of the client library: KVR_RES_OK, KVR_RES_CHECK_ERROR_STATUS
/// and KVR_RES_PARTIAL_RESULT_CHECK_STATUS pass in silence, anything else is reported.
bool is_accepted(kvr_code code);

/// Tells the operator of a refused call, in the library's words. Always false.
bool report_error(kvr_code code);

#pragma once

#include "contract/client_api_table.h"

// The virtual instrument's calls under other names, for libraries that break one thing and leave
// everything else to it.

#define KVR_DECLARE_GOOD(call) extern "C" decltype(::call) good_##call;
KVR_EACH_CALL(KVR_DECLARE_GOOD)
#undef KVR_DECLARE_GOOD

inline ClientApiTable good_calls() {
#define KVR_GOOD(call) good_##call,
  return {KVR_EACH_CALL(KVR_GOOD)};
#undef KVR_GOOD
}

/// Puts something broken in the place of good calls. Each broken library has one of its own.
void break_calls(ClientApiTable& calls);

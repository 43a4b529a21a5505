#pragma once

#include "api/call_table.h"

// The virtual instrument's calls under other names, for libraries that break one thing and leave
// all else to the virtual instrument.

#define KVR_DECLARE_GOOD(call) extern "C" decltype(::call) good_##call;
KVR_EACH_CALL(KVR_DECLARE_GOOD)
#undef KVR_DECLARE_GOOD

inline ClientApiTable good_calls() {
#define KVR_GOOD(call) good_##call,
  return {KVR_EACH_CALL(KVR_GOOD)};
#undef KVR_GOOD
}

/// Replaces good calls by broken ones. Each broken library defines its own.
void break_calls(ClientApiTable& calls);

#pragma once

#include <cstdint>
#include <string_view>

#include "api/code_list.h"

/// Results, failures and events of the client library. Any 32-bit value can arrive in a record or
/// a callback, so a code without a name here is legal everywhere.
enum kvr_code : std::int32_t {
#define KVR_CODE_ENUMERATOR(number, name) name = (number),
  KVR_CODE_LIST(KVR_CODE_ENUMERATOR)
#undef KVR_CODE_ENUMERATOR
};

/// The symbolic name of `code`, as reports and logs show it. What is said to the operator live is
/// the library's own wording instead, `kvr_CodeToString`.
///
/// The view of a named code lives as long as the process and costs no allocation. A code without a
/// name gives "Unknown error code " and its number in one shared slot: that view is good only until
/// the next call with an unnamed code, on any thread.
std::string_view CodeToText(kvr_code code);

/// Whether `code` says that a test was stopped from outside: cancelled, emergency stop, interlock.
bool IsStopCode(kvr_code code);

#pragma once

#include <array>
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

namespace code_names {

constexpr std::uint32_t kHighest = 1008;
/// By code; empty where a code has no name.
extern const std::array<std::string_view, kHighest + 1> kNames;

std::string_view unnamed(kvr_code code);

}  // namespace code_names

/// The symbolic name of `code`, for reports and logs. On the console the operator reads the
/// library's own wording instead, from `kvr_CodeToString`.
///
/// The view of a named code lives as long as the process and costs one table look-up. A code
/// without a name gives "Unknown error code " and its number in one shared slot: that view is good
/// only until the next call with an unnamed code, on any thread.
inline std::string_view CodeToText(kvr_code code) {
  const auto index = static_cast<std::uint32_t>(code);  // negative codes end up above the table
  if (index <= code_names::kHighest) {
    if (const std::string_view name = code_names::kNames[index]; !name.empty()) {
      return name;
    }
  }
  return code_names::unnamed(code);
}

/// Whether `code` says that a test was stopped from outside: cancelled, emergency stop, interlock.
bool IsStopCode(kvr_code code);

#include "api/codes.h"

#include <string>

namespace code_names {
namespace {

constexpr auto make_names() {
  std::array<std::string_view, kHighest + 1> names{};
#define KVR_CODE_NAME(number, name) names[(number)] = #name;
  KVR_CODE_LIST(KVR_CODE_NAME)
#undef KVR_CODE_NAME
  return names;
}

}  // namespace

constexpr std::array<std::string_view, kHighest + 1> kNames = make_names();

std::string_view unnamed(kvr_code code) {
  static std::string slot;
  slot.reserve(sizeof "Unknown error code -2147483648");  // stays put for the views of older calls
  slot = "Unknown error code ";
  slot += std::to_string(static_cast<std::int32_t>(code));
  return slot;
}

}  // namespace code_names

bool IsStopCode(kvr_code code) {
  return code == KVR_RES_OPERATION_CANCELLED || code == KVR_RES_EMERGENCY_STOP_PRESSED ||
         code == KVR_RES_INTERLOCK_ON;
}

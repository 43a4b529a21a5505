#include "api/codes.h"

#include <array>
#include <string>

namespace {

constexpr std::size_t kHighestNamedCode = 1008;

constexpr auto make_code_names() {
  std::array<std::string_view, kHighestNamedCode + 1> names{};
#define KVR_CODE_NAME(number, name) names[(number)] = #name;
  KVR_CODE_LIST(KVR_CODE_NAME)
#undef KVR_CODE_NAME
  return names;
}

constexpr auto kCodeNames = make_code_names();

std::string_view unknown_code_text(kvr_code code) {
  static std::string slot;
  slot.reserve(sizeof "Unknown error code -2147483648");  // stays put for the views of older calls
  slot = "Unknown error code ";
  slot += std::to_string(static_cast<std::int32_t>(code));
  return slot;
}

}  // namespace

std::string_view CodeToText(kvr_code code) {
  const auto index = static_cast<std::uint32_t>(code);  // negative codes end up above the table
  if (index > kHighestNamedCode || kCodeNames[index].empty()) {
    return unknown_code_text(code);
  }
  return kCodeNames[index];
}

bool IsStopCode(kvr_code code) {
  return code == KVR_RES_OPERATION_CANCELLED || code == KVR_RES_EMERGENCY_STOP_PRESSED ||
         code == KVR_RES_INTERLOCK_ON;
}

#pragma once

#include <optional>
#include <string_view>

#include "api/codes.h"

namespace virtual_instrument {

/// The code with that symbolic name; benches use these names.
std::optional<kvr_code> code_of_name(std::string_view name);

/// Whether a client treats `code` as success: done, done with a status to check, or done in part.
constexpr bool is_accepted_code(kvr_code code) {
  return code == KVR_RES_OK || code == KVR_RES_CHECK_ERROR_STATUS ||
         code == KVR_RES_PARTIAL_RESULT_CHECK_STATUS;
}

}  // namespace virtual_instrument

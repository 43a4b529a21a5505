#pragma once

#include "api/codes.h"

namespace virtual_instrument {

/// A sentence on `code` for operators, never null. That of a code without a name holds its number,
/// and is valid until the same thread asks for another code without a name.
const char* code_sentence(kvr_code code);

}  // namespace virtual_instrument

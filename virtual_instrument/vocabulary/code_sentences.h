#pragma once

#include "api/codes.h"

namespace virtual_instrument {

/// What an operator is told about `code`: a sentence, never null. That of a code without a name
/// holds its number, and is good until the same thread asks for another code without a name.
const char* code_sentence(kvr_code code);

}  // namespace virtual_instrument

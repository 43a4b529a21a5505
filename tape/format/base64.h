#pragma once

#include <optional>
#include <string>
#include <string_view>

// Bytes as text of 64 letters, padded, as RFC 4648 has it.
namespace tape {

std::string to_base64(std::string_view bytes);

/// Nothing for a text that to_base64() does not make.
std::optional<std::string> from_base64(std::string_view text);

}  // namespace tape

#pragma once

#include <optional>
#include <string_view>

// toml++ walks through what lies outside quotes, and behind a backslash in a long text, with
// functions that are undefined for many characters beyond ASCII. They are looked for before it is
// given a text.

namespace virtual_instrument {

/// The line, from 1, of the first character beyond ASCII outside quotes and comments, or where
/// quotes do not shield it.
std::optional<unsigned> line_beyond_ascii(std::string_view text);

}  // namespace virtual_instrument

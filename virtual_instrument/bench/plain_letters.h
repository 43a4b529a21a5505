#pragma once

#include <optional>
#include <string>
#include <string_view>

// toml++ walks through what lies outside quotes, and behind a backslash in a long text, with
// functions that are undefined for many characters beyond ASCII. It is given a text once it is
// known to have none there: none of the sort of line_beyond_ascii(), and no mistake
// with_plain_letters().

namespace virtual_instrument {

/// The line, from 1, of the first character beyond ASCII outside quotes and comments, or behind a
/// backslash in a long text. Of a text without mistakes it is the right one.
std::optional<unsigned> line_beyond_ascii(std::string_view text);

/// With "~" and its number for each byte beyond ASCII, but for a byte order mark. The "~" may stand
/// in quotes and comments alone; the number keeps different keys different.
std::string with_plain_letters(std::string_view text);

}  // namespace virtual_instrument

#pragma once

#include <string>
#include <string_view>

// A TOML document in ASCII alone, from which every text of the original can be had back. We parse
// such a copy because toml++, 3.3 and 3.4 alike, is undefined for many characters beyond ASCII that
// it meets outside quotes (its issues 190 and 295).

namespace toml_file {

/// Each "~" and each byte beyond ASCII becomes "~" and three digits, its number. A "~" that is
/// written as an escape, such as "\u007e", gets "~000" after it, which stands for nothing and keeps
/// it apart from digits that follow. Lines stay as they are.
std::string ascii_copy(std::string_view text);

/// The original of an ASCII copy, or of what the parser made of a part of one, such as a key.
std::string original_of(std::string_view copy);

/// Whether the first character of `copy` stands for a byte beyond ASCII.
bool begins_beyond_ascii(std::string_view copy);

}  // namespace toml_file

#pragma once

#include <string>

#include "tape/vocabulary/event.h"

// Events as lines of a tape, each with its line feed. A text is bytes, and each byte is written as
// the character of that number, so every text comes back as it was.
namespace tape {

std::string line_of(const TapeHeader& header);
std::string line_of(const Event& event);

/// The first key of a line, which says what the line is.
std::string_view key_of(EventKind kind);

}  // namespace tape

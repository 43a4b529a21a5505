#pragma once

#include <string>
#include <vector>

#include "tape/format/reader.h"

// What differs between two tapes, apart from times: for each differing field one text that names
// lines, call and field. Where the lines themselves differ, the comparison ends.
namespace tape {

std::vector<std::string> tape_differences(const Tape& first, const Tape& second);

/// What keeps a tape from being whole: unanswered calls, a recording that stopped, a cut line,
/// records that can't be decoded.
std::vector<std::string> shortcomings(const Tape& tape);

}  // namespace tape

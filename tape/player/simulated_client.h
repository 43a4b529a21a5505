#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tape/format/reader.h"

// A client that does what a tape says, without a program: to see whether a tape can be played.
namespace tape {

/// Plays the library's side of `tape` to the client's side of `client`. Returns what is wrong:
/// where the client diverges, and each output that is not what the client got when it was recorded.
/// Empty when all is served as recorded.
std::vector<std::string> simulate(const Tape& tape, const Tape& client,
                                  std::chrono::milliseconds patience = std::chrono::seconds(10));

}  // namespace tape

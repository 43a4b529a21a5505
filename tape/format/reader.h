#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tape/vocabulary/event.h"

// Tapes from files. Any bytes are safe to read: every length is bounded, and what is wrong is
// reported with its line and key.
namespace tape {

/// A tape that can't be read. The message begins with the line.
class TapeError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Tape {
  TapeHeader header;
  std::vector<Event> events;
  std::vector<std::string> notices;  ///< what was passed over
};

/// A last line without its line feed is dropped with a notice, and so is an unknown line that calls
/// itself optional.
Tape parse_tape(std::string_view text);

/// Throws TapeError, also for a file that can't be opened or is larger than 4 GiB.
Tape read_tape(const std::filesystem::path& file);

std::string read_file(const std::filesystem::path& file);

}  // namespace tape

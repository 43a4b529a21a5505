#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

// Reads a file that a person names. The name can be that of anything: only an ordinary file is
// read, and nothing blocks.

namespace virtual_instrument {

enum class FileState { kRead, kUnreadable, kFolder, kNotOrdinary, kTooLarge };

struct FileReading {
  FileState state;
  std::string text;  ///< empty unless read
};

/// Reads `path` if it is an ordinary file of at most `limit` bytes. Pipes and devices are not
/// opened; if one takes the file's name at that moment, it is opened without blocking.
FileReading read_ordinary_file(const std::filesystem::path& path, std::size_t limit);

}  // namespace virtual_instrument

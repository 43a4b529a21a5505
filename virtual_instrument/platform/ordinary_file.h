#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

// Reading a file that a person names, who may name anything: nothing but an ordinary file is read,
// and nothing is waited for.

namespace virtual_instrument {

enum class FileState { kRead, kUnreadable, kFolder, kNotOrdinary, kTooLarge };

struct FileReading {
  FileState state;
  std::string text;  ///< empty unless read
};

/// Reads `path` if it is an ordinary file of at most `limit` bytes. Pipes and devices are not even
/// opened, or, where one takes the file's name at that moment, opened without a wait.
FileReading read_ordinary_file(const std::filesystem::path& path, std::size_t limit);

}  // namespace virtual_instrument

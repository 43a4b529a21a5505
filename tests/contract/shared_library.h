#pragma once

#include <filesystem>

// The operating system's loader. A library that was loaded stays until the process ends.

/// Any function; to be cast to what it is.
using Symbol = void (*)();

class SharedLibrary {
 public:
  /// Throws std::runtime_error with the loader's own words.
  explicit SharedLibrary(const std::filesystem::path& file);

  /// Null if the library does not export `name`.
  Symbol find(const char* name) const;

 private:
  void* handle_;
};

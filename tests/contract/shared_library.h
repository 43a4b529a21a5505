#pragma once

#include <filesystem>

// Loads a shared library. It stays loaded until the process ends.

/// Any function; cast it to its own type.
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

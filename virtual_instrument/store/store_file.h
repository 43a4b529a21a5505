#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>

#include "virtual_instrument/store/sqlite_connection.h"

// Opens the file of a store: makes it, checks that it is a sound store of this version, and sets
// how SQLite writes to it. docs/store.md describes the file.

namespace virtual_instrument {

struct StoreOptions {
  std::filesystem::path path;  ///< empty: in memory, and gone with the store
  bool read_only = false;
  std::uint64_t capacity = 0;  ///< largest size of the file in bytes; 0: no limit but the disk
  /// How long to wait for another process that holds the file.
  std::chrono::milliseconds patience = std::chrono::seconds(5);
};

struct OpenStore {
  std::unique_ptr<SqliteConnection> database;
  bool read_only = false;
  bool keeps_log = false;  ///< whether there is a log that the store must move
};

/// Makes the file if it is missing or empty. Throws a StoreFailure for a file that can't be used;
/// one that is no store of this version is unchanged.
OpenStore open_store(const StoreOptions& options);

}  // namespace virtual_instrument

#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

// Intercepts SQLite's file operations, so that tests can stop, count or fail each one.

/// The operation that SQLite is about to do: "create", "write", "cut", "sync", "delete" or "map",
/// which lengthens the index of a write-ahead log. `file` is the full name.
struct DiskChange {
  std::string_view what;
  std::string_view file;
};

/// While this object lives, connections that are opened go through it. It reports a sync but does
/// not do it: no test waits for the disk. One at a time; connections must be closed first.
class WatchedDisk {
 public:
  /// Called before each change, on the thread that makes it. Returns 0 to let it happen, or the
  /// SQLite result code with which it fails.
  using Watch = std::function<int(const DiskChange&)>;

  explicit WatchedDisk(Watch watch = [](const DiskChange&) { return 0; });
  ~WatchedDisk();
  WatchedDisk(const WatchedDisk&) = delete;
  WatchedDisk& operator=(const WatchedDisk&) = delete;

  std::uint64_t bytes_read() const;

  /// From now on no file can be written or made, as on a disk that is mounted read-only.
  void set_read_only();
};

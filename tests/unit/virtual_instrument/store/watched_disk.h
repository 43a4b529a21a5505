#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

// SQLite's way to the disk with a hand in between, so that tests can stop, count or fail each
// operation on a file.

/// What SQLite is about to do: "create", "write", "cut", "sync", "delete" or "map", which lengthens
/// the index of a write-ahead log. `file` is the full name.
struct DiskChange {
  std::string_view what;
  std::string_view file;
};

/// While it lives, connections that are opened go through it. It tells of a sync and leaves it at
/// that: no test waits for the disk. One at a time; connections must be closed before it ends.
class WatchedDisk {
 public:
  /// Called before each change, on whatever thread makes it. Gives 0 to let it happen, or the
  /// result code of SQLite that the change fails with.
  using Watch = std::function<int(const DiskChange&)>;

  explicit WatchedDisk(Watch watch = [](const DiskChange&) { return 0; });
  ~WatchedDisk();
  WatchedDisk(const WatchedDisk&) = delete;
  WatchedDisk& operator=(const WatchedDisk&) = delete;

  std::uint64_t bytes_read() const;

  /// From now on no file can be written or made, as on a disk that is mounted so.
  void set_read_only();
};

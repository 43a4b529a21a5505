#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

#include "tape/platform/system.h"
#include "tape/vocabulary/event.h"

// Writes a tape while it happens: each line is in the file before the call that it reports goes on.
// When the file can't grow, one line says so on the tape and on standard error, and nothing more is
// written.
namespace tape {

class TapeWriter {
 public:
  /// Begins the file; on failure complains once and stays silent from then on.
  void begin(const std::filesystem::path& file, const TapeHeader& header, std::uint64_t limit);

  /// Sets time, and the number unless it is set, and adds the line; returns the number.
  std::uint64_t add(Event event);

  /// Waits until the lines so far are on the disk.
  void sync();

  /// The last line. `patient` is false when the lock may be held by a thread that is gone.
  void close(bool patient);

  /// Gives up, for `reason`.
  void stop(const std::string& reason);

 private:
  void stop_locked(const std::string& reason);
  std::int64_t now() const;

  std::mutex mutex_;
  platform::AppendedFile file_;
  std::string name_;
  std::uint64_t limit_ = 0;
  std::uint64_t size_ = 0;
  std::uint64_t numbers_ = 0;
  bool open_ = false;
};

}  // namespace tape

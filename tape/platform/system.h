#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// What the tape needs of the operating system beyond the standard library. The parts that load
// libraries are in loading.h, so that the player can do without them.
namespace tape::platform {

extern const std::string_view kSystemName;

/// A variable of the environment; empty when it is unset.
std::string environment_text(const char* name);

/// A file that is only ever added to, by this process alone.
class AppendedFile {
 public:
  AppendedFile() = default;
  ~AppendedFile() = default;
  AppendedFile(const AppendedFile&) = delete;
  AppendedFile& operator=(const AppendedFile&) = delete;

  /// Makes a new file that only its owner may read. Empty, or why it can't: also because there is
  /// one.
  std::string create(const std::filesystem::path& file);

  /// Adds all of `bytes` in one write, or nothing of them; false when there is no room.
  bool append(std::string_view bytes);

  /// Waits until all that was added is on the disk.
  void sync();

 private:
  std::intptr_t handle_ = -1;
  std::uint64_t size_ = 0;
};

/// Local time with its offset, as "2026-03-15T12:00:00+01:00".
std::string local_time();

std::uint64_t process_number();

/// Ends the process at once, without any of its exit handlers.
[[noreturn]] void end_at_once(int status);

/// A line on standard error, in one write.
void complain(std::string_view text);

/// A lock taken when the process ends, when other threads may be gone with locks they held.
bool threads_are_gone_at_exit();

}  // namespace tape::platform

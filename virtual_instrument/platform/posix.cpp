#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "virtual_instrument/platform/calendar.h"
#include "virtual_instrument/platform/ordinary_file.h"
#include "virtual_instrument/platform/process_end.h"

namespace virtual_instrument {
namespace {

FileState state_of(const struct stat& status, std::size_t limit) {
  if (S_ISDIR(status.st_mode)) {
    return FileState::kFolder;
  }
  if (!S_ISREG(status.st_mode)) {
    return FileState::kNotOrdinary;
  }
  return status.st_size > static_cast<off_t>(limit) ? FileState::kTooLarge : FileState::kRead;
}

/// Some files are longer than their status says, or grow meanwhile.
FileReading read_open_file(int file, std::size_t limit) {
  FileReading reading{FileState::kRead, {}};
  std::array<char, 16384> part;
  for (;;) {
    const ssize_t count = read(file, part.data(), part.size());
    if (count == 0) {
      return reading;
    }
    if (count > 0) {
      reading.text.append(part.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return {FileState::kUnreadable, {}};
    }
    if (reading.text.size() > limit) {
      return {FileState::kTooLarge, {}};
    }
  }
}

}  // namespace

CalendarTime local_calendar_time(std::int64_t time) {
  const std::time_t seconds{time};
  std::tm parts{};
  if (localtime_r(&seconds, &parts) == nullptr) {
    return {};
  }
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

FileReading read_ordinary_file(const std::filesystem::path& path, std::size_t limit) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    return {FileState::kUnreadable, {}};
  }
  if (const FileState state = state_of(status, limit); state != FileState::kRead) {
    return {state, {}};
  }
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) {
    return {FileState::kUnreadable, {}};
  }
  struct Closing {
    int file;
    ~Closing() { close(file); }
  } const closing{file};
  if (fstat(file, &status) != 0) {
    return {FileState::kUnreadable, {}};
  }
  const FileState state = state_of(status, limit);
  return state == FileState::kRead ? read_open_file(file, limit) : FileReading{state, {}};
}

// Fails only without memory; the log then stays until the next start.
void call_at_process_end(void (*action)()) noexcept { std::atexit(action); }

}  // namespace virtual_instrument

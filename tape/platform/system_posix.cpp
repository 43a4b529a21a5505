#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "tape/platform/system.h"

namespace tape::platform {

const std::string_view kSystemName = "linux";

std::string environment_text(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string AppendedFile::create(const std::filesystem::path& file) {
  const int handle =
      ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (handle < 0) {
    return std::strerror(errno);
  }
  handle_ = handle;
  return {};
}

bool AppendedFile::append(std::string_view bytes) {
  const int handle = static_cast<int>(handle_);
  ssize_t written = 0;
  do {
    written = ::write(handle, bytes.data(), bytes.size());
  } while (written < 0 && errno == EINTR);
  if (written == static_cast<ssize_t>(bytes.size())) {
    size_ += bytes.size();
    return true;
  }
  // Part of a line would make the next one unreadable.
  while (written > 0 && ::ftruncate(handle, static_cast<off_t>(size_)) != 0 && errno == EINTR) {
  }
  return false;
}

void AppendedFile::sync() { ::fdatasync(static_cast<int>(handle_)); }

std::string local_time() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::localtime_r(&now, &parts);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &parts);
  std::string result = text;
  if (result.size() > 5) {
    result.insert(result.size() - 2, ":");
  }
  return result;
}

std::uint64_t process_number() { return static_cast<std::uint64_t>(::getpid()); }

void end_at_once(int status) { ::_exit(status); }

void complain(std::string_view text) {
  const std::string line = std::string(text) + "\n";
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

bool threads_are_gone_at_exit() { return false; }

}  // namespace tape::platform

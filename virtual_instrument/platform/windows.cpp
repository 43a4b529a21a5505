#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "virtual_instrument/platform/calendar.h"
#include "virtual_instrument/platform/ordinary_file.h"
#include "virtual_instrument/platform/process_end.h"

namespace virtual_instrument {
namespace {

FileState state_of(HANDLE file, std::size_t limit) {
  if (GetFileType(file) != FILE_TYPE_DISK) {
    return FileState::kNotOrdinary;
  }
  BY_HANDLE_FILE_INFORMATION status{};
  if (!GetFileInformationByHandle(file, &status)) {
    return FileState::kUnreadable;
  }
  if ((status.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return FileState::kFolder;
  }
  const std::uint64_t size =
      (static_cast<std::uint64_t>(status.nFileSizeHigh) << 32) + status.nFileSizeLow;
  return size > limit ? FileState::kTooLarge : FileState::kRead;
}

/// The file can grow meanwhile.
FileReading read_open_file(HANDLE file, std::size_t limit) {
  FileReading reading{FileState::kRead, {}};
  std::array<char, 16384> part;
  for (;;) {
    DWORD count = 0;
    if (!ReadFile(file, part.data(), static_cast<DWORD>(part.size()), &count, nullptr)) {
      return {FileState::kUnreadable, {}};
    }
    if (count == 0) {
      return reading;
    }
    reading.text.append(part.data(), count);
    if (reading.text.size() > limit) {
      return {FileState::kTooLarge, {}};
    }
  }
}

void (*at_process_end)() = nullptr;

/// The system must not call a function of an unloaded library, so this one stays loaded.
void keep_this_library_loaded() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     reinterpret_cast<LPCWSTR>(&at_process_end), &module);
}

}  // namespace

CalendarTime local_calendar_time(std::int64_t time) {
  const __time64_t seconds{time};
  std::tm parts{};
  if (_localtime64_s(&parts, &seconds) != 0) {
    return {};
  }
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

FileReading read_ordinary_file(const std::filesystem::path& path, std::size_t limit) {
  // A folder can only be opened with this flag.
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return {FileState::kUnreadable, {}};
  }
  const std::unique_ptr<void, decltype(&CloseHandle)> closing(file, CloseHandle);
  const FileState state = state_of(file, limit);
  return state == FileState::kRead ? read_open_file(file, limit) : FileReading{state, {}};
}

// In a library, functions of std::atexit() run only when the system unloads it, after all other
// threads have ended. exit() calls those of _onexit(), in a program also those of std::atexit().
void call_at_process_end(void (*action)()) noexcept {
  keep_this_library_loaded();
  at_process_end = action;
  _onexit([] {
    at_process_end();
    return 0;
  });
  std::atexit(action);
}

}  // namespace virtual_instrument

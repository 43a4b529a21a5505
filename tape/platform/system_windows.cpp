#include <windows.h>

#include <ctime>
#include <string>

#include "tape/platform/system.h"

namespace tape::platform {
namespace {

HANDLE handle_of(std::intptr_t value) { return reinterpret_cast<HANDLE>(value); }

std::string error_text() { return "error " + std::to_string(GetLastError()); }

}  // namespace

const std::string_view kSystemName = "windows";

// Asked of the system: the C library keeps a copy from the start of the process.
std::string environment_text(const char* name) {
  const DWORD size = GetEnvironmentVariableA(name, nullptr, 0);
  std::string text(size, '\0');
  text.resize(size == 0 ? 0 : GetEnvironmentVariableA(name, text.data(), size));
  return text;
}

std::string AppendedFile::create(const std::filesystem::path& file) {
  HANDLE handle = CreateFileW(file.c_str(), FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ,
                              nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return error_text();
  }
  handle_ = reinterpret_cast<std::intptr_t>(handle);
  return {};
}

// Windows writes all of it or reports an error; a full disk leaves the file as it was.
bool AppendedFile::append(std::string_view bytes) {
  DWORD written = 0;
  const bool whole = WriteFile(handle_of(handle_), bytes.data(), static_cast<DWORD>(bytes.size()),
                               &written, nullptr) != 0 &&
                     written == bytes.size();
  size_ += written;
  return whole;
}

void AppendedFile::sync() { FlushFileBuffers(handle_of(handle_)); }

std::string local_time() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  std::tm utc{};
  localtime_s(&local, &now);
  gmtime_s(&utc, &now);
  utc.tm_isdst = local.tm_isdst;
  const long minutes =
      static_cast<long>(std::difftime(std::mktime(&local), std::mktime(&utc)) / 60);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
  const long size = minutes < 0 ? -minutes : minutes;
  const auto two_digits = [](long number) {
    return std::string(number < 10 ? "0" : "") + std::to_string(number);
  };
  return std::string(text) + (minutes < 0 ? "-" : "+") + two_digits(size / 60) + ":" +
         two_digits(size % 60);
}

std::uint64_t process_number() { return GetCurrentProcessId(); }

void end_at_once(int status) {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
  for (;;) {
    Sleep(INFINITE);
  }
}

void complain(std::string_view text) {
  const std::string line = std::string(text) + "\r\n";
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written,
            nullptr);
}

bool threads_are_gone_at_exit() { return true; }

}  // namespace tape::platform

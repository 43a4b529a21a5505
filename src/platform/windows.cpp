#define WIN32_LEAN_AND_MEAN
#include <conio.h>
#include <process.h>
#include <shlobj.h>
#include <sys/stat.h>
#include <windows.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <type_traits>
#include <vector>

#include "platform/platform.h"

namespace platform {

namespace {

unsigned __stdcall run(void* work) {
  reinterpret_cast<void (*)()>(work)();
  return 0;
}

/// The file of a loaded module; null stands for the program.
std::string module_file(HMODULE module) {
  char name[MAX_PATH] = {};
  const DWORD length = GetModuleFileNameA(module, name, MAX_PATH);
  return length < MAX_PATH ? std::string(name, length) : std::string();
}

}  // namespace

const char kPathSeparator = '\\';

std::optional<std::string> documents_folder() {
  wchar_t wide[MAX_PATH] = {};
  if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, 0, wide))) {
    return std::nullopt;
  }
  // Low bytes only, no code page: a name beyond Latin-1 gives a folder that can't be made.
  std::string folder;
  for (const wchar_t* unit = wide; *unit != L'\0'; ++unit) {
    folder += static_cast<char>(*unit & 0xff);
  }
  return folder;
}

bool create_directory(const std::string& path) {
  return CreateDirectoryA(path.c_str(), nullptr) != 0;
}

std::optional<std::int64_t> file_size(const std::string& path) {
  struct _stat64 entry {};
  return _stat64(path.c_str(), &entry) == 0 ? std::optional<std::int64_t>(entry.st_size)
                                            : std::nullopt;
}

std::string environment_text(const char* name, std::size_t buffer_size) {
  std::vector<char> buffer(buffer_size);
  const DWORD length =
      GetEnvironmentVariableA(name, buffer.data(), static_cast<DWORD>(buffer_size));
  return length < buffer_size ? std::string(buffer.data(), length) : std::string();
}

void set_environment(const char* name, const std::string& value) {
  SetEnvironmentVariableA(name, value.c_str());
}

std::string client_library_file() {
  HMODULE const library = GetModuleHandleA("kvr-client-api.dll");
  return library == nullptr ? std::string() : module_file(library);
}

std::string program_file() { return module_file(nullptr); }

void start_again(const std::vector<std::string>& /*arguments*/, const std::string& /*folder*/) {}

int command_status(int system_result) { return system_result; }

// Windows ends the process itself after an event of that kind.
bool install_console_handler(ConsoleHandler handler, EndHandler /*end*/) {
  // On 64-bit Windows there is one calling convention, and BOOL and DWORD are these types.
  static_assert(std::is_same_v<ConsoleHandler, PHANDLER_ROUTINE>);
  return SetConsoleCtrlHandler(handler, TRUE) != 0;
}

bool input_terminal_is_closed() { return false; }

void end_process(int status) {
  static std::atomic_flag ending;
  while (ending.test_and_set()) {
    Sleep(INFINITE);
  }
  std::exit(status);
}

void run_detached(void (*work)()) {
  // Not std::thread: with MinGW's library a thread that is detached soon after its start may never
  // run.
  const std::uintptr_t thread =
      _beginthreadex(nullptr, 0, run, reinterpret_cast<void*>(work), 0, nullptr);
  if (thread == 0) {
    throw std::system_error(errno, std::generic_category(), "_beginthreadex");
  }
  CloseHandle(reinterpret_cast<HANDLE>(thread));
}

void wait_for_key() { _getch(); }

}  // namespace platform

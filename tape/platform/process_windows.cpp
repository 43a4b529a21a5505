#include <windows.h>

#include <process.h>
#include <cstdio>

#include "tape/platform/process.h"

namespace tape::platform {

const char* const kLibraryPath = "PATH";
const char kLibraryPathSeparator = ';';
const char* const kClientLibraryName = "kvr-client-api.dll";

namespace {

constexpr int kNotStarted = 127;

/// An argument as the start of a program takes it apart again.
std::string quoted_argument(const std::string& argument) {
  std::string result = "\"";
  std::size_t backslashes = 0;
  for (const char letter : argument) {
    if (letter == '"') {
      result.append(backslashes + 1, '\\');
    }
    backslashes = letter == '\\' ? backslashes + 1 : 0;
    result += letter;
  }
  result.append(backslashes, '\\');
  return result + "\"";
}

}  // namespace

int run_program(const Program& program) {
  for (const auto& [name, value] : program.environment) {
    SetEnvironmentVariableA(name.c_str(), value.c_str());
  }
  std::string line;
  for (const std::string& argument : program.arguments) {
    line += (line.empty() ? "" : " ") + quoted_argument(argument);
  }
  STARTUPINFOA start{};
  start.cb = sizeof start;
  HANDLE reading = nullptr;
  HANDLE writing = nullptr;
  if (program.input) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    CreatePipe(&reading, &writing, &inherited, static_cast<DWORD>(program.input->size() + 1));
    SetHandleInformation(writing, HANDLE_FLAG_INHERIT, 0);
    DWORD written = 0;
    WriteFile(writing, program.input->data(), static_cast<DWORD>(program.input->size()), &written,
              nullptr);
    CloseHandle(writing);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = reading;
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  }
  PROCESS_INFORMATION process{};
  if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                     &process) == 0) {
    std::fprintf(stderr, "%s: error %lu\n", program.arguments[0].c_str(), GetLastError());
    return kNotStarted;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD status = 0;
  GetExitCodeProcess(process.hProcess, &status);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  if (reading != nullptr) {
    CloseHandle(reading);
  }
  return static_cast<int>(status);
}

int run_and_keep_input(const Program& program, std::string&) { return run_program(program); }

std::filesystem::path own_program() {
  std::wstring name(32768, L'\0');
  name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
  return name;
}

}  // namespace tape::platform

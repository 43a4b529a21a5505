#include "windows_program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "support/process.h"
#include "support/windows_console.h"

namespace {

constexpr DWORD kMillisecondsToEnd = 30'000;

struct Pipe {
  Pipe() {
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    CreatePipe(&reading_end, &writing_end, &inheritable, 0);
  }
  HANDLE reading_end = nullptr;
  HANDLE writing_end = nullptr;
};

void keep_from_children(HANDLE handle) { SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0); }

}  // namespace

WindowsProgram::WindowsProgram(const std::string& program, const Environment& environment) {
  use_home_folder(documents_.path().string());
  for (const auto& [name, value] : environment) {
    set_environment(name, value);
  }
  const Pipe input;
  const Pipe output;
  keyboard_ = input.writing_end;
  screen_ = output.reading_end;
  keep_from_children(keyboard_);
  keep_from_children(screen_);
  STARTUPINFOA start{};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input.reading_end;
  start.hStdOutput = output.writing_end;
  start.hStdError = output.writing_end;
  EXPECT_NE(CreateProcessA(program.c_str(), nullptr, nullptr, nullptr, TRUE, 0, nullptr,
                           documents_.path().string().c_str(), &start, &process_),
            0)
      << program << ": error " << GetLastError();
  CloseHandle(input.reading_end);
  CloseHandle(output.writing_end);
}

WindowsProgram::~WindowsProgram() {
  TerminateProcess(process_.hProcess, 1);
  WaitForSingleObject(process_.hProcess, kMillisecondsToEnd);
  for (HANDLE handle : {keyboard_, screen_, process_.hThread, process_.hProcess}) {
    CloseHandle(handle);
  }
}

void WindowsProgram::type(std::string_view keys) {
  std::string typed;
  for (const char key : keys) {
    typed += key == '\n' ? "\r\n" : std::string(1, key);
  }
  DWORD written = 0;
  EXPECT_NE(WriteFile(keyboard_, typed.data(), static_cast<DWORD>(typed.size()), &written, nullptr),
            0);
}

void WindowsProgram::send_event(DWORD event) {
  const HANDLE thread =
      CreateRemoteThread(process_.hProcess, nullptr, 0, console_event_routine(),
                         reinterpret_cast<void*>(std::uintptr_t{event}), 0, nullptr);
  ASSERT_NE(thread, nullptr) << "error " << GetLastError();
  EXPECT_EQ(WaitForSingleObject(thread, kMillisecondsToEnd), WAIT_OBJECT_0) << output_;
  CloseHandle(thread);
}

bool WindowsProgram::has_output_in_time() const {
  const ULONGLONG deadline = GetTickCount64() + kMillisecondsToEnd;
  DWORD waiting = 0;
  while (PeekNamedPipe(screen_, nullptr, 0, nullptr, &waiting, nullptr) != 0) {
    if (waiting > 0) {
      return true;
    }
    if (GetTickCount64() > deadline) {
      return false;
    }
    Sleep(1);
  }
  return false;  // it has ended, and all its output has been read
}

bool WindowsProgram::read() {
  if (!has_output_in_time()) {
    return false;
  }
  char bytes[4096];
  DWORD count = 0;
  if (ReadFile(screen_, bytes, sizeof(bytes), &count, nullptr) == 0 || count == 0) {
    return false;
  }
  std::copy_if(bytes, bytes + count, std::back_inserter(output_),
               [](char character) { return character != '\r'; });
  return true;
}

bool WindowsProgram::shows(std::string_view text) {
  std::size_t found = output_.find(text, position_);
  while (found == std::string::npos) {
    if (!read()) {
      return false;
    }
    found = output_.find(text, position_);
  }
  position_ = found + text.size();
  return true;
}

DWORD WindowsProgram::exit_status() {
  if (WaitForSingleObject(process_.hProcess, kMillisecondsToEnd) != WAIT_OBJECT_0) {
    ADD_FAILURE() << "still runs; so far it has said:\n" << output_;
    TerminateProcess(process_.hProcess, 1);
  }
  while (read()) {
  }
  DWORD status = 0;
  GetExitCodeProcess(process_.hProcess, &status);
  return status;
}

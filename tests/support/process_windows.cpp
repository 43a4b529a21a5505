#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <ctime>

#include "support/process.h"

void set_environment(const std::string& name, const std::string& value) {
  _putenv_s(name.c_str(), value.c_str());
  if (name == "TZ") {
    _tzset();
  }
}

void use_as_standard_input(const std::string& text) {
  FreeConsole();
  const auto size = static_cast<unsigned>(text.size());
  int ends[2] = {-1, -1};
  if (_pipe(ends, size + 1, _O_BINARY | _O_NOINHERIT) != 0 ||
      _write(ends[1], text.data(), size) < 0 || _dup2(ends[0], 0) < 0) {
    std::abort();
  }
  _close(ends[0]);
  _close(ends[1]);
}

void raise_console_event() {
  // What the system does for a Ctrl-C; asking it to needs a console.
  const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernelbase"), "CtrlRoutine")));
  if (routine == nullptr ||
      CreateThread(nullptr, 0, routine, CTRL_C_EVENT, 0, nullptr) == nullptr) {
    std::abort();
  }
}

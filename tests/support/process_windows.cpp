#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <ctime>

#include "support/process.h"
#include "support/windows_console.h"

void set_environment(const std::string& name, const std::string& value) {
  _putenv_s(name.c_str(), value.c_str());
  if (name == "TZ") {
    _tzset();
  }
}

void use_home_folder(const std::string& folder) {
  // Wine takes the documents folder from this variable, see run-under-wine.
  set_environment("KVR_DOCUMENTS", folder);
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

LPTHREAD_START_ROUTINE console_event_routine() {
  return reinterpret_cast<LPTHREAD_START_ROUTINE>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernelbase"), "CtrlRoutine")));
}

void raise_console_event() {
  // Does what the system does for a Ctrl-C; a request to the system would need a console.
  if (CreateThread(nullptr, 0, console_event_routine(), CTRL_C_EVENT, 0, nullptr) == nullptr) {
    std::abort();
  }
}

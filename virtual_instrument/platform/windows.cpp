#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdlib>
#include <ctime>

#include "virtual_instrument/platform/calendar.h"
#include "virtual_instrument/platform/process_end.h"

namespace virtual_instrument {
namespace {

void (*at_process_end)() = nullptr;

/// A library that is unloaded must not be called any more, so it stays.
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

// In a library std::atexit() waits until the system unloads it, when all other threads are gone.
// _onexit() is called by exit(), as std::atexit() is in a program.
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

#include <windows.h>

#include "tape/platform/loading.h"

namespace tape::platform {

const char* const kRealLibraryName = "kvr-client-api-real.dll";

std::filesystem::path own_file() {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&own_file), &module);
  std::wstring name(32768, L'\0');
  name.resize(GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())));
  return name;
}

// With the altered search path the library finds its own libraries beside itself.
void* load_library(const std::filesystem::path& file, std::string& error) {
  HMODULE module = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (module == nullptr) {
    error = file.string() + ": error " + std::to_string(GetLastError());
  }
  return reinterpret_cast<void*>(module);
}

void* find_function(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

}  // namespace tape::platform

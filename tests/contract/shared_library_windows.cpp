#include <windows.h>

#include <stdexcept>
#include <string>

#include "contract/shared_library.h"

SharedLibrary::SharedLibrary(const std::filesystem::path& file)
    : handle_(LoadLibraryW(std::filesystem::absolute(file).c_str())) {
  if (handle_ == nullptr) {
    throw std::runtime_error(file.string() + ": error " + std::to_string(GetLastError()));
  }
}

Symbol SharedLibrary::find(const char* name) const {
  return reinterpret_cast<Symbol>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

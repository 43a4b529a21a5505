#include <dlfcn.h>

#include <stdexcept>

#include "contract/shared_library.h"

SharedLibrary::SharedLibrary(const std::filesystem::path& file)
    : handle_(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) {
    throw std::runtime_error(dlerror());
  }
}

Symbol SharedLibrary::find(const char* name) const {
  return reinterpret_cast<Symbol>(dlsym(handle_, name));
}

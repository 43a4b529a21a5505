#include <dlfcn.h>

#include "tape/platform/loading.h"

namespace tape::platform {

const char* const kRealLibraryName = "libkvr-client-api-real.so";

std::filesystem::path own_file() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&own_file), &info) == 0 || info.dli_fname == nullptr) {
    return {};
  }
  return info.dli_fname;
}

void* load_library(const std::filesystem::path& file, std::string& error) {
  void* library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr) {
    error = ::dlerror();
  }
  return library;
}

void* find_function(void* library, const char* name) { return ::dlsym(library, name); }

}  // namespace tape::platform

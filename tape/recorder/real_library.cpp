#include "tape/recorder/real_library.h"

#include <string>

#include "tape/platform/loading.h"
#include "tape/platform/system.h"

namespace tape {
namespace {

[[noreturn]] void refuse(const std::string& reason) {
  platform::complain("kvr-tape: the recorder can't find its library: " + reason);
  platform::end_at_once(kNoRealLibrary);
}

std::filesystem::path real_file() {
  if (const std::string named = platform::environment_text("KVR_TAPE_LIBRARY"); !named.empty()) {
    return named;
  }
  return platform::own_file().parent_path() / platform::kRealLibraryName;
}

/// A name without a folder would be looked up, and what is found first is the recorder.
std::filesystem::path checked(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    refuse(file.string() + " is no file; KVR_TAPE_LIBRARY names it by its path");
  }
  if (std::filesystem::equivalent(file, platform::own_file(), error)) {
    refuse(file.string() + " is the recorder itself");
  }
  return std::filesystem::absolute(file);
}

}  // namespace

RealLibrary load_real_library() {
  RealLibrary real;
  real.file = checked(real_file());
  std::string error;
  void* library = platform::load_library(real.file, error);
  if (library == nullptr) {
    refuse(error);
  }
#define KVR_FIND(call)                                                                      \
  real.calls.call =                                                                         \
      reinterpret_cast<decltype(real.calls.call)>(platform::find_function(library, #call)); \
  if (real.calls.call == nullptr) {                                                         \
    refuse(real.file.string() + " has no " #call);                                          \
  }                                                                                         \
  if (real.calls.call == &::call) {                                                         \
    refuse(real.file.string() + " leads back to the recorder");                             \
  }
  KVR_EACH_CALL(KVR_FIND)
#undef KVR_FIND
  return real;
}

}  // namespace tape

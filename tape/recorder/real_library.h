#pragma once

#include <filesystem>

#include "api/call_table.h"

// The library that the recorder stands in front of. KVR_TAPE_LIBRARY names its file; without it, it
// is the file beside the recorder whose name ends with "-real".
namespace tape {

struct RealLibrary {
  std::filesystem::path file;
  ClientApiTable calls;
};

/// Loads it and finds all 22 calls. Ends the process with kNoRealLibrary and a message when there
/// is none, a call is missing, or the library is the recorder itself.
RealLibrary load_real_library();

inline constexpr int kNoRealLibrary = 97;

}  // namespace tape

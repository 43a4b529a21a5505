#pragma once

#include <filesystem>
#include <string>

// Loading another library: for the recorder and the tool only.
namespace tape::platform {

/// The file that this code was loaded from.
std::filesystem::path own_file();

/// Loads a library by its path and never frees it. Null, with the reason in `error`.
void* load_library(const std::filesystem::path& file, std::string& error);

/// The address of an exported function, null if there is none.
void* find_function(void* library, const char* name);

/// The real library's name where it stands beside the recorder.
extern const char* const kRealLibraryName;

}  // namespace tape::platform

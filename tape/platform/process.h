#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Running another program, for the tool.
namespace tape::platform {

struct Program {
  std::vector<std::string> arguments;                            ///< with its name
  std::vector<std::pair<std::string, std::string>> environment;  ///< set for it
  std::optional<std::string> input;  ///< its standard input, in place of our own
};

/// Runs it to its end and returns its exit status, 128 and more for a signal, 127 when it can't be
/// started.
int run_program(const Program& program);

/// The same, and keeps what is typed meanwhile. On a terminal the program gets one of its own.
/// Windows programs read their console themselves: nothing is kept there.
int run_and_keep_input(const Program& program, std::string& typed);

/// The variable with the folders in which programs look for libraries first.
extern const char* const kLibraryPath;
extern const char kLibraryPathSeparator;

/// Name of the client library's file.
extern const char* const kClientLibraryName;

/// Our own program file.
std::filesystem::path own_program();

}  // namespace tape::platform

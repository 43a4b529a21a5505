#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// The system: where a browser is, running it, and the arguments of the program in UTF-8.

namespace report::platform {

/// The first Chromium, Chrome or Edge that this computer has; `KVR_REPORT_BROWSER` names another.
std::optional<std::filesystem::path> find_browser();

/// Runs a program without a shell and waits for it. Its exit status; -1 if it did not run.
int run(const std::filesystem::path& program, const std::vector<std::string>& arguments);

/// Standard output without a translation of line ends.
void use_binary_output();

}  // namespace report::platform

#pragma once

#include <filesystem>
#include <string>

// Where the recorder and the player lie.
namespace tape {

/// The folder of our library of that name, "recorder" or "player". Throws CommandError.
std::filesystem::path library_folder(const std::string& name);

}  // namespace tape

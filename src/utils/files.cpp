#include <plog/Log.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "common/errors.h"
#include "common/logging.h"
#include "platform/platform.h"
#include "utils/utils.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kAppDataBufferSize = 260;

/// The entries of a folder, as far as they can be read; none if it is no folder.
std::vector<fs::path> entries_of(const fs::path& folder) {
  std::error_code error;
  std::vector<fs::path> entries;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    entries.push_back(at->path());
  }
  return entries;
}

/// Entry by entry: std::filesystem::remove_all does not report what it removed before an error.
bool remove_tree(const fs::path& path) {
  std::error_code error;
  bool removed = false;
  if (!fs::is_symlink(path, error)) {
    for (const fs::path& entry : entries_of(path)) {
      removed |= remove_tree(entry);
    }
  }
  return fs::remove(path, error) || removed;
}

}  // namespace

// Deliberate: nothing is flushed.
void Utils::SyncFS() { PLOGW << "Syncing FS..."; }

void Utils::UtilDeleteFile(const std::string& path) {
  PLOGW << "Deleting file " << path;
  static_cast<void>(std::remove(path.c_str()));
}

bool Utils::CreateDir(const std::string& path) {
  if (platform::create_directory(path)) {
    return true;
  }
  PLOGE << "CreateDir cannot create dir: " << path;
  return false;
}

bool Utils::UtilCopyFile(const std::string& source, const std::string& target) {
  PLOGW << "Copying file from " << source << " to " << target;
  try {
    std::ifstream input(source, std::ios::binary);
    std::ofstream output(target, std::ios::binary);
    output << input.rdbuf();
    output.close();
    return true;
  } catch (const std::exception& error) {
    PLOGE << "Utils::UtilCopyFile reading file: " << source << " exception: " << error.what();
    return false;
  }
}

bool Utils::WriteToDevice(const std::string& path, const std::string& text) {
  const ScopeLogger scope("WriteToDevice", false);
  std::ofstream output(path, std::ios::app);
  if (output.good()) {
    output << text;
    return true;
  }
  PLOGW << "Could not write to " << path;
  return false;
}

std::string Utils::ReadTextFile(const std::string& path) {
  try {
    std::ifstream input(path);
    return trim({std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()});
  } catch (const std::exception& error) {
    // Deliberate: not the operation's name.
    PLOGE << "Utils::ReadFileData reading file: " << path << " exception: " << error.what();
    return {};
  }
}

std::int64_t Utils::GetFileSize(const std::string& path) {
  const auto size = platform::file_size(path);
  if (!size) {
    throw kvr_exception(KVR_RES_FILE_NOT_FOUND, "GetFileSize - cannot stat file " + path, kLogged,
                        "GetFileSize");
  }
  // Wrong from 2 GiB on: the size is a signed 32-bit number.
  return static_cast<std::int32_t>(*size);
}

bool Utils::ExecSystem(const std::string& command, bool noThrow) {
  PLOGD << command;
  const int result = platform::command_status(std::system(command.c_str()));
  if (result == 0) {
    return true;
  }
  if (!noThrow) {
    throw kvr_exception(
        KVR_RES_INTERNAL_ERROR,
        "system command failed with error: " + std::to_string(result) + " command: " + command,
        kLogged, "ExecSystem");
  }
  PLOGW << "command " << command << " failed. res: " << result;
  return false;
}

void Utils::WriteFileData(const std::string& path, const std::string& text) {
  const ScopeLogger scope("WriteFileData", false);
  std::ofstream output(path);
  if (!output.good()) {
    throw kvr_exception(KVR_RES_INTERNAL_ERROR, "Cannot open file for write: " + path, kLogged,
                        "WriteFileData");
  }
  output << text;
  output.close();
}

bool FileExists(const std::string& path) {
  std::ifstream input(path);
  if (!input.good()) {
    return false;
  }
  // A folder can be opened on some platforms, but not read.
  input.peek();
  return !input.bad();
}

bool ReadFlagFile(const std::string& path) {
  const std::string text = Utils::ReadTextFile(path);
  return !text.empty() && text.front() == '1';
}

bool RemoveAll(const std::string& path) { return remove_tree(path); }

void ClearDirectory(const std::string& path) {
  for (const fs::path& entry : entries_of(path)) {
    remove_tree(entry);
  }
}

std::string TempDirectoryText() {
  std::error_code error;
  const std::u8string text = fs::temp_directory_path(error).u8string();
  return {text.begin(), text.end()};
}

std::string AppDataPath() { return platform::environment_text("APPDATA", kAppDataBufferSize); }

#include <filesystem>
#include <ostream>

#include "tape/format/sha256.h"
#include "tape/platform/loading.h"
#include "tape/platform/process.h"
#include "tape/tool/commands.h"
#include "tape/tool/own_libraries.h"

// The recorder in the place of a folder's client library, and back.

namespace tape {
namespace {

namespace fs = std::filesystem;

struct Places {
  fs::path client;  ///< where programs look for the library
  fs::path real;    ///< where the recorder looks for it
  fs::path recorder;

  explicit Places(const std::string& folder)
      : client(fs::path(folder) / platform::kClientLibraryName),
        real(fs::path(folder) / platform::kRealLibraryName),
        recorder(library_folder("recorder") / platform::kClientLibraryName) {}

  bool recorder_is_in_place() const {
    return fs::exists(client) && sha256_of_file(client) == sha256_of_file(recorder);
  }
};

}  // namespace

int install(const std::string& folder, std::ostream& out) {
  const Places places(folder);
  if (places.recorder_is_in_place()) {
    throw CommandError{"the recorder is in " + folder + " already"};
  }
  if (!fs::exists(places.client)) {
    throw CommandError{places.client.string() + " does not exist"};
  }
  if (fs::exists(places.real)) {
    throw CommandError{places.real.string() + " exists"};
  }
  fs::rename(places.client, places.real);
  std::error_code error;
  if (!fs::copy_file(places.recorder, places.client, error)) {
    fs::remove(places.client, error);
    fs::rename(places.real, places.client);
    throw CommandError{"the recorder can't be copied to " + folder};
  }
  out << "programs in " << folder << " are recorded; tapes are made in the folder that "
      << "KVR_TAPE_FOLDER names, or the current one\n";
  return kFine;
}

int uninstall(const std::string& folder, std::ostream& out) {
  const Places places(folder);
  if (!fs::exists(places.real)) {
    throw CommandError{"no recorder is installed in " + folder};
  }
  if (fs::exists(places.client) && !places.recorder_is_in_place()) {
    throw CommandError{places.client.string() + " is not this recorder; it stays"};
  }
  fs::remove(places.client);
  fs::rename(places.real, places.client);
  out << "the client library is back in its place\n";
  return kFine;
}

}  // namespace tape

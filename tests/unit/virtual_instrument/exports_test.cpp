#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/temporary_folder.h"
#include "virtual_instrument/vocabulary/call_names.h"

namespace virtual_instrument {
namespace {

std::vector<std::string> sorted_call_names() {
  std::vector<std::string> names(kCallNames.begin(), kCallNames.end());
  std::sort(names.begin(), names.end());
  return names;
}

TEST(Exports, TheSharedLibraryExportsTheCallsAndNothingElse) {
  if (std::string_view(KVR_CLIENT_LIBRARY).ends_with(".dll")) {
    GTEST_SKIP() << "no nm there; tests/windows looks at the library";
  }
  TemporaryFolder folder;
  const std::string command = "nm --dynamic --defined-only --format=posix '" KVR_CLIENT_LIBRARY
                              "' > '" +
                              (folder.path() / "symbols").string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  std::vector<std::string> exported;
  std::istringstream lines(folder.read("symbols"));
  for (std::string line; std::getline(lines, line);) {
    exported.push_back(line.substr(0, line.find(' ')));
  }
  std::sort(exported.begin(), exported.end());
  EXPECT_EQ(exported, sorted_call_names());
}

TEST(Exports, TheNamesAreThoseOfTheImportLibrary) {
  std::ifstream file(KVR_TEST_DATA_DIR "/../src/api/kvr-client-api.def");
  std::vector<std::string> names;
  for (std::string word; file >> word;) {
    if (word.starts_with("kvr_")) {
      names.push_back(word);
    }
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, sorted_call_names());
}

}  // namespace
}  // namespace virtual_instrument

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/record_text.h"
#include "support/temporary_folder.h"
#include "support/test_clock.h"
#include "text/text_output.h"
#include "unit/text/text_difference.h"

// Renders tests/golden/records/*.record and compares: the plain text with the .txt of the same
// name, the file of a first report with its .report.

namespace {

namespace fs = std::filesystem;

const fs::path kFolder = fs::path(KVR_TEST_DATA_DIR) / "golden" / "records";

std::vector<std::string> names_of_files(const std::string& extension) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(kFolder)) {
    if (entry.path().extension() == extension) {
      names.push_back(entry.path().stem().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string read(const fs::path& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file.good()) << path << " is missing; scripts/rebuild-goldens makes it, for review";
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class GoldenRecord : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    const std::string file = GetParam() + ".record";
    OwnedRecord owned = parse_record(read(kFolder / file), file);
    std::ostringstream out;
    KVR_Text_Output::ResultsToReportFile(owned.get(), out, "KV-0042", "4.2.1",
                                         (folder_.prefix() + "report").c_str());
    text_ = out.str();
    report_ = folder_.read("report");
    string_ = KVR_Text_Output::ResultsToString(owned.get());
  }

  static void compare(const std::string& extension, const std::string& actual) {
    const fs::path path = kFolder / (GetParam() + extension);
    if (std::getenv("KVR_REBUILD_GOLDENS") != nullptr) {
      std::ofstream(path, std::ios::binary) << actual;
      ADD_FAILURE() << "rebuilt, not compared: " << path;
      return;
    }
    EXPECT_EQ(text_difference(read(path), actual), "")
        << path << "; if the change is wanted: scripts/rebuild-goldens, and review it";
  }

  TestClock clock_;
  TemporaryFolder folder_;
  std::string text_;
  std::string report_;
  std::string string_;
};

TEST_P(GoldenRecord, RendersAsExpected) {
  compare(".txt", text_);
  compare(".report", report_);
  EXPECT_EQ(string_, text_);
}

INSTANTIATE_TEST_SUITE_P(, GoldenRecord, testing::ValuesIn(names_of_files(".record")),
                         [](const auto& name) {
                           std::string identifier = name.param;
                           std::replace(identifier.begin(), identifier.end(), '-', '_');
                           return identifier;
                         });

TEST(GoldenRecords, EveryExpectedTextHasItsRecord) {
  const std::vector<std::string> records = names_of_files(".record");
  EXPECT_EQ(names_of_files(".txt"), records);
  EXPECT_EQ(names_of_files(".report"), records);
}

}  // namespace

#include "virtual_instrument/platform/ordinary_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/temporary_folder.h"

namespace virtual_instrument {
namespace {

class OrdinaryFileTest : public testing::Test {
 protected:
  FileReading reading(const std::string& name, std::size_t limit = 100) const {
    return read_ordinary_file(folder_.path() / name, limit);
  }
  void write(const std::string& name, const std::string& text) const {
    folder_.write(name, text, std::ios::binary);
  }

  TemporaryFolder folder_;
};

TEST_F(OrdinaryFileTest, IsReadByteForByte) {
  const std::string text("line\r\n\x1A\0end\n", 12);
  write("file", text);
  EXPECT_EQ(reading("file").state, FileState::kRead);
  EXPECT_EQ(reading("file").text, text);
  write("empty", "");
  EXPECT_EQ(reading("empty").state, FileState::kRead);
  EXPECT_EQ(reading("empty").text, "");
}

TEST_F(OrdinaryFileTest, LongerThanOneReadIsReadWhole) {
  std::string text;
  for (int line = 0; text.size() < 100'000; ++line) {
    text += std::to_string(line) + "\n";
  }
  write("file", text);
  EXPECT_TRUE(reading("file", text.size()).text == text);
}

TEST_F(OrdinaryFileTest, AtTheLimitIsReadAndBeyondItNot) {
  write("file", std::string(100, 'x'));
  EXPECT_EQ(reading("file", 100).text, std::string(100, 'x'));
  EXPECT_EQ(reading("file", 99).state, FileState::kTooLarge);
  EXPECT_EQ(reading("file", 99).text, "");
}

TEST_F(OrdinaryFileTest, ThatIsMissingOrAFolderIsNot) {
  EXPECT_EQ(reading("missing").state, FileState::kUnreadable);
  std::filesystem::create_directory(folder_.path() / "folder");
  EXPECT_EQ(reading("folder").state, FileState::kFolder);
}

}  // namespace
}  // namespace virtual_instrument

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/platform.h"
#include "support/counted_new.h"
#include "support/log_capture.h"
#include "support/thrown_exception.h"
#include "unit/utils/file_helpers.h"
#include "utils/utils.h"

namespace {

// --- WriteToDevice, WriteFileData ----------------------------------------------------------------

TEST_F(FileHelpers, WriteToDeviceAppends) {
  const std::string file = in_folder("file");
  LogCapture log;
  EXPECT_TRUE(Utils::WriteToDevice(file, "a"));
  EXPECT_EQ(log.lines,
            (LogLines{{plog::debug, "WriteToDevice BEGIN"}, {plog::debug, "WriteToDevice END"}}));
  EXPECT_TRUE(Utils::WriteToDevice(file, "a"));
  EXPECT_EQ(folder.read("file"), "aa");
}

TEST_F(FileHelpers, WriteToDeviceFailsWhereNothingCanBeOpened) {
  const std::string inner = make_folder("inner");
  LogCapture log;
  EXPECT_FALSE(Utils::WriteToDevice(inner, "a"));
  EXPECT_EQ(log.lines, (LogLines{{plog::debug, "WriteToDevice BEGIN"},
                                 {plog::warning, "Could not write to " + inner},
                                 {plog::debug, "WriteToDevice END"}}));
  EXPECT_FALSE(Utils::WriteToDevice(in_folder("missing/file"), "a"));
  EXPECT_FALSE(Utils::WriteToDevice("", "a"));
}

TEST_F(FileHelpers, WriteFileDataReplaces) {
  const std::string file = in_folder("file");
  LogCapture log;
  Utils::WriteFileData(file, "a");
  EXPECT_EQ(log.lines,
            (LogLines{{plog::debug, "WriteFileData BEGIN"}, {plog::debug, "WriteFileData END"}}));
  Utils::WriteFileData(file, "a");
  EXPECT_EQ(folder.read("file"), "a");
  Utils::WriteFileData(file, "");
  EXPECT_EQ(folder.read("file"), "");
}

TEST_F(FileHelpers, WriteFileDataThrowsWhereNothingCanBeOpened) {
  const std::string inner = make_folder("inner");
  LogCapture log;
  expect_kvr_exception(KVR_RES_INTERNAL_ERROR, "WriteFileData",
                       "Cannot open file for write: " + inner,
                       [&] { Utils::WriteFileData(inner, "a"); });
  EXPECT_EQ(log.lines, (LogLines{{plog::debug, "WriteFileData BEGIN"},
                                 {plog::error,
                                  "Exception code: KVR_RES_INTERNAL_ERROR message: "
                                  "Cannot open file for write: " +
                                      inner + "\r\n"},
                                 {plog::debug, "WriteFileData END"}}));
}

TEST_F(FileHelpers, WritersDoNotNoticeAFullDevice) {
  if (!fs::exists("/dev/full")) {
    GTEST_SKIP() << "this system has no device that is always full";
  }
  const std::string large(1U << 20U, 'x');
  EXPECT_TRUE(Utils::WriteToDevice("/dev/full", large));
  EXPECT_NO_THROW(Utils::WriteFileData("/dev/full", large));
}

// --- ReadTextFile, ReadFlagFile ------------------------------------------------------------------

TEST_F(FileHelpers, ReadTextFileStripsWhiteSpaceAtBothEnds) {
  EXPECT_EQ(Utils::ReadTextFile(make_file("file", "\n\t first\nsecond \v\f\r\n")), "first\nsecond");
  EXPECT_EQ(Utils::ReadTextFile(make_file("zero", std::string(" a\0b ", 5))),
            std::string("a\0b", 3));
  EXPECT_EQ(Utils::ReadTextFile(make_file("blank", " \n ")), "");
  EXPECT_EQ(Utils::ReadTextFile(make_file("empty")), "");
}

TEST_F(FileHelpers, ReadTextFileReadsALargeFile) {
  const std::string large(3U << 20U, 'x');
  EXPECT_TRUE(Utils::ReadTextFile(make_file("large", large)) == large);
}

TEST_F(FileHelpers, ReadTextFileIsEmptyAndSilentForAMissingFile) {
  LogCapture log;
  EXPECT_EQ(Utils::ReadTextFile(in_folder("missing")), "");
  EXPECT_EQ(Utils::ReadTextFile(make_link_loop("loop")), "");
  EXPECT_EQ(log.lines, LogLines{});
}

TEST_F(FileHelpers, ReadTextFileIsEmptyForAFolder) {
  const std::string inner = make_folder("inner");
  const bool folders_can_be_opened = std::ifstream(inner).good();
  LogCapture log;
  EXPECT_EQ(Utils::ReadTextFile(inner), "");
  ASSERT_EQ(log.lines.size(), folders_can_be_opened ? 1U : 0U);
  if (folders_can_be_opened) {
    EXPECT_EQ(log.lines[0].severity, plog::error);
    const std::string beginning = "Utils::ReadFileData reading file: " + inner + " exception: ";
    EXPECT_EQ(log.lines[0].text.substr(0, beginning.size()), beginning);
    EXPECT_GT(log.lines[0].text.size(), beginning.size());
  }
}

TEST_F(FileHelpers, ReadTextFileIsEmptyAfterAnException) {
  const std::string file = make_file("file", "text");
  {
    counted_new::Failing failing(1, counted_new::Failing::kForEver);
    EXPECT_EQ(Utils::ReadTextFile(file), "");
  }
  expect_logged_memory_failure(
      {plog::error, "Utils::ReadFileData reading file: " + file + " exception: std::bad_alloc"},
      [&] { Utils::ReadTextFile(file); });
}

TEST_F(FileHelpers, ReadFlagFileIsTrueForATextThatBeginsWithOne) {
  for (const char* text : {"1", "10", " 1 ", "\n1", "\t\r\n1x"}) {
    EXPECT_TRUE(ReadFlagFile(make_file("flag", text))) << '"' << text << '"';
  }
  for (const char* text : {"0", "", "true", "01", "-1", " "}) {
    EXPECT_FALSE(ReadFlagFile(make_file("flag", text))) << '"' << text << '"';
  }
  EXPECT_FALSE(ReadFlagFile(in_folder("missing")));
  EXPECT_FALSE(ReadFlagFile(folder.prefix()));
}

// --- GetFileSize ---------------------------------------------------------------------------------

TEST_F(FileHelpers, GetFileSizeCountsBytes) {
  EXPECT_EQ(Utils::GetFileSize(make_file("empty")), 0);
  EXPECT_EQ(Utils::GetFileSize(make_file("file", "abcd")), 4);
}

TEST_F(FileHelpers, GetFileSizeThrowsForAMissingFile) {
  for (const std::string& path : {in_folder("missing"), make_link_loop("loop"), std::string()}) {
    expect_kvr_exception(KVR_RES_FILE_NOT_FOUND, "GetFileSize",
                         "GetFileSize - cannot stat file " + path,
                         [&] { Utils::GetFileSize(path); });
  }
}

TEST_F(FileHelpers, GetFileSizeOfAFolderIsWhatTheSystemSays) {
  const std::string inner = make_folder("inner");
  EXPECT_EQ(Utils::GetFileSize(inner), platform::file_size(inner));
}

TEST_F(FileHelpers, GetFileSizeIsThatOfThirtyTwoBits) {
  const std::string file = make_file("large");
  const std::pair<std::uintmax_t, std::int64_t> sizes[] = {
      {0x7FFFFFFFU, 2147483647}, {0x80000000U, -2147483648LL}, {0xFFFFFFFFU, -1}};
  for (const auto& [size, expected] : sizes) {
    fs::resize_file(file, size);  // takes no space: it has no content
    EXPECT_EQ(Utils::GetFileSize(file), expected) << size;
  }
  fs::resize_file(file, 0x100000007U);
  EXPECT_EQ(Utils::GetFileSize(file), 7);
}

}  // namespace

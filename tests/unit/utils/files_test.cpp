#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "support/counted_new.h"
#include "support/log_capture.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "support/thrown_exception.h"
#include "utils/utils.h"

namespace {

namespace fs = std::filesystem;

const bool kIsWindows = platform::kPathSeparator == '\\';

using LogLines = std::vector<LogLine>;

class FileHelpers : public testing::Test {
 protected:
  std::string in_folder(const std::string& name) const { return folder.prefix() + name; }

  std::string make_file(const std::string& name, const std::string& content = "") const {
    folder.write(name, content);
    return in_folder(name);
  }

  std::string make_folder(const std::string& name) const {
    fs::create_directory(folder.path() / name);
    return in_folder(name);
  }

  /// A path that no user can open.
  std::string make_link_loop(const std::string& name) const {
    if (kIsWindows) {
      return in_folder(name + "?");  // no links there, but an invalid name
    }
    fs::create_symlink(in_folder(name + "-back"), in_folder(name));
    fs::create_symlink(in_folder(name), in_folder(name + "-back"));
    return in_folder(name);
  }

  TemporaryFolder folder;
};

/// Runs `operation` with a logger attached; each of its allocations fails in turn. Expects that
/// after one of these failures the last line of the log is `expected`.
template <class Operation>
void expect_logged_memory_failure(const LogLine& expected, Operation operation) {
  bool logged = false;
  for (std::size_t nth = 1;; ++nth) {
    LogCapture log;
    log.lines.reserve(8);
    const std::size_t live = counted_new::live_blocks();
    counted_new::Failing failing(nth);
    try {
      operation();
    } catch (const std::bad_alloc&) {
      // The log statements themselves allocate memory.
    }
    if (!failing.has_failed()) {
      break;
    }
    logged = logged || (!log.lines.empty() && log.lines.back() == expected);
    log.lines.clear();
    EXPECT_EQ(counted_new::live_blocks(), live) << "allocation " << nth;
  }
  EXPECT_TRUE(logged);
}

// --- SyncFS, UtilDeleteFile ----------------------------------------------------------------------

TEST_F(FileHelpers, SyncFSLogsAndDoesNothingElse) {
  LogCapture log;
  Utils::SyncFS();
  EXPECT_EQ(log.lines, (LogLines{{plog::warning, "Syncing FS..."}}));
}

TEST_F(FileHelpers, LogStatementsBuildNothingWithoutALogger) {
  const std::string file = make_file("file");
  const std::string missing = in_folder("missing");
  const std::size_t before = counted_new::allocations();
  Utils::SyncFS();
  Utils::UtilDeleteFile(missing);
  Utils::CreateDir(file);
  EXPECT_EQ(counted_new::allocations(), before);
}

TEST_F(FileHelpers, LogStatementsBuildNothingForACoarserLogger) {
  const std::string file = make_file("file");
  const std::string missing = in_folder("missing");
  const LogCapture log(plog::fatal);
  const std::size_t before = counted_new::allocations();
  Utils::SyncFS();
  Utils::UtilDeleteFile(missing);
  Utils::CreateDir(file);
  EXPECT_EQ(counted_new::allocations(), before);
  EXPECT_EQ(log.lines, LogLines{});
}

TEST_F(FileHelpers, UtilDeleteFileRemovesAFile) {
  const std::string file = make_file("file", "content");
  LogCapture log;
  Utils::UtilDeleteFile(file);
  EXPECT_FALSE(fs::exists(file));
  EXPECT_EQ(log.lines, (LogLines{{plog::warning, "Deleting file " + file}}));
}

TEST_F(FileHelpers, UtilDeleteFileIsSilentAboutAMissingFile) {
  Utils::UtilDeleteFile(in_folder("missing"));
  Utils::UtilDeleteFile("");
  EXPECT_TRUE(folder.empty());
}

TEST_F(FileHelpers, UtilDeleteFileLeavesAFolderWithContent) {
  const std::string inner = make_folder("inner");
  make_file("inner/file", "content");
  Utils::UtilDeleteFile(inner);
  EXPECT_EQ(folder.read("inner/file"), "content");
}

// --- CreateDir -----------------------------------------------------------------------------------

TEST_F(FileHelpers, CreateDirMakesAFolder) {
  LogCapture log;
  EXPECT_TRUE(Utils::CreateDir(in_folder("new")));
  EXPECT_TRUE(fs::is_directory(in_folder("new")));
  EXPECT_EQ(log.lines, LogLines{});
}

TEST_F(FileHelpers, CreateDirTakesASeparatorAtTheEnd) {
  EXPECT_TRUE(Utils::CreateDir(in_folder("new") + platform::kPathSeparator));
  EXPECT_TRUE(fs::is_directory(in_folder("new")));
}

TEST_F(FileHelpers, CreateDirFailsForAFolderThatExists) {
  const std::string existing = make_folder("existing");
  LogCapture log;
  EXPECT_FALSE(Utils::CreateDir(existing));
  EXPECT_EQ(log.lines, (LogLines{{plog::error, "CreateDir cannot create dir: " + existing}}));
}

TEST_F(FileHelpers, CreateDirMakesOneLevelOnly) {
  EXPECT_FALSE(Utils::CreateDir(in_folder("upper/lower")));
  EXPECT_TRUE(folder.empty());
}

TEST_F(FileHelpers, CreateDirFailsForAFileAndForAnEmptyPath) {
  EXPECT_FALSE(Utils::CreateDir(make_file("file", "content")));
  EXPECT_EQ(folder.read("file"), "content");
  LogCapture log;
  EXPECT_FALSE(Utils::CreateDir(""));
  EXPECT_EQ(log.lines, (LogLines{{plog::error, "CreateDir cannot create dir: "}}));
}

// --- UtilCopyFile --------------------------------------------------------------------------------

TEST_F(FileHelpers, UtilCopyFileCopiesEveryByte) {
  std::string content;
  for (int i = 0; i < 1024; ++i) {
    content += static_cast<char>(i);
  }
  content += "\r\n\x1A\n";
  folder.write("source", content, std::ios::binary);
  const std::string source = in_folder("source");
  const std::string target = in_folder("target");
  LogCapture log;
  EXPECT_TRUE(Utils::UtilCopyFile(source, target));
  EXPECT_EQ(folder.read("target", std::ios::binary), content);
  EXPECT_EQ(folder.read("source", std::ios::binary), content);
  EXPECT_EQ(log.lines,
            (LogLines{{plog::warning, "Copying file from " + source + " to " + target}}));
}

TEST_F(FileHelpers, UtilCopyFileReplacesTheTarget) {
  make_file("target", "a longer text");
  EXPECT_TRUE(Utils::UtilCopyFile(make_file("source", "short"), in_folder("target")));
  EXPECT_EQ(folder.read("target"), "short");
}

TEST_F(FileHelpers, UtilCopyFileCopiesEmptyAndLargeFiles) {
  make_file("target", "old");
  EXPECT_TRUE(Utils::UtilCopyFile(make_file("empty"), in_folder("target")));
  EXPECT_EQ(folder.read("target"), "");
  std::string large;
  for (int line = 0; large.size() < 5U << 20U; ++line) {
    large += std::to_string(line) + '\n';
  }
  EXPECT_TRUE(Utils::UtilCopyFile(make_file("large", large), in_folder("target")));
  EXPECT_TRUE(folder.read("target") == large);
}

TEST_F(FileHelpers, UtilCopyFileSucceedsWhereAFileCannotBeOpened) {
  LogCapture log;
  EXPECT_TRUE(Utils::UtilCopyFile(in_folder("missing"), in_folder("target")));
  EXPECT_EQ(folder.read("target"), "");
  EXPECT_TRUE(Utils::UtilCopyFile(make_file("source", "text"), in_folder("missing/target")));
  EXPECT_FALSE(fs::exists(in_folder("missing")));
  EXPECT_TRUE(Utils::UtilCopyFile(make_folder("inner"), in_folder("of-folder")));
  EXPECT_EQ(folder.read("of-folder"), "");
  for (const LogLine& line : log.lines) {
    EXPECT_EQ(line.severity, plog::warning) << line.text;
  }
}

TEST_F(FileHelpers, UtilCopyFileFailsOnAnException) {
  const std::string source = make_file("source", "text");
  const std::string target = in_folder("target");
  {
    counted_new::Failing failing(1, counted_new::Failing::kForEver);
    EXPECT_FALSE(Utils::UtilCopyFile(source, target));
  }
  expect_logged_memory_failure(
      {plog::error, "Utils::UtilCopyFile reading file: " + source + " exception: std::bad_alloc"},
      [&] { Utils::UtilCopyFile(source, target); });
}

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

// --- FileExists ----------------------------------------------------------------------------------

TEST_F(FileHelpers, FileExistsForFilesThatCanBeRead) {
  EXPECT_TRUE(FileExists(make_file("file", "content")));
  EXPECT_TRUE(FileExists(make_file("empty")));
  EXPECT_FALSE(FileExists(in_folder("missing")));
  EXPECT_FALSE(FileExists(in_folder("missing/file")));
  EXPECT_FALSE(FileExists(in_folder("file/below")));
  EXPECT_FALSE(FileExists(""));
}

TEST_F(FileHelpers, FileExistsNotForAFolder) {
  EXPECT_FALSE(FileExists(make_folder("inner")));
  EXPECT_FALSE(FileExists(folder.prefix()));
}

TEST_F(FileHelpers, FileExistsNotForWhatCannotBeOpened) {
  EXPECT_FALSE(FileExists(make_link_loop("loop")));
}

TEST_F(FileHelpers, FileExistsNotForWhatCanBeOpenedButNotRead) {
  const std::string unreadable = "/proc/self/mem";  // nothing is mapped where it begins
  if (!std::ifstream(unreadable).good()) {
    GTEST_SKIP() << "this system has no such file";
  }
  EXPECT_FALSE(FileExists(unreadable));
}

TEST_F(FileHelpers, FileExistsNotForWhatTheUserMayNotRead) {
  const std::string file = make_file("unreadable", "content");
  fs::permissions(file, fs::perms::none);
  if (std::ifstream(file).good()) {
    GTEST_SKIP() << "this user may read every file";
  }
  EXPECT_FALSE(FileExists(file));
}

TEST_F(FileHelpers, FileExistsLeavesTheFileAlone) {
  const std::string file = make_file("file", "content");
  EXPECT_TRUE(FileExists(file));
  EXPECT_FALSE(FileExists(in_folder("missing")));
  EXPECT_EQ(folder.read("file"), "content");
  EXPECT_FALSE(fs::exists(in_folder("missing")));
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

// --- ExecSystem ----------------------------------------------------------------------------------

TEST_F(FileHelpers, ExecSystemIsTrueForACommandThatSucceeds) {
  LogCapture log;
  EXPECT_TRUE(Utils::ExecSystem("exit 0", false));
  EXPECT_TRUE(Utils::ExecSystem("exit 0", true));
  EXPECT_EQ(log.lines, (LogLines{{plog::debug, "exit 0"}, {plog::debug, "exit 0"}}));
}

TEST_F(FileHelpers, ExecSystemThrowsForACommandThatFails) {
  expect_kvr_exception(KVR_RES_INTERNAL_ERROR, "ExecSystem",
                       "system command failed with error: 3 command: exit 3",
                       [] { Utils::ExecSystem("exit 3", false); });
}

TEST_F(FileHelpers, ExecSystemIsFalseWhereItMustNotThrow) {
  LogCapture log;
  EXPECT_FALSE(Utils::ExecSystem("exit 3", true));
  EXPECT_EQ(log.lines,
            (LogLines{{plog::debug, "exit 3"}, {plog::warning, "command exit 3 failed. res: 3"}}));
}

TEST_F(FileHelpers, ExecSystemSeesACommandThatIsKilled) {
  if (kIsWindows) {
    GTEST_SKIP() << "commands are not killed by signals here";
  }
  LogCapture log;
  EXPECT_FALSE(Utils::ExecSystem("kill -9 $$", true));
  EXPECT_EQ(log.lines.back(), (LogLine{plog::warning, "command kill -9 $$ failed. res: 9"}));
  expect_kvr_exception(KVR_RES_INTERNAL_ERROR, "ExecSystem",
                       "system command failed with error: 9 command: kill -9 $$",
                       [] { Utils::ExecSystem("kill -9 $$", false); });
}

TEST_F(FileHelpers, ExecSystemSeesACommandThatDoesNotExist) {
  const std::string command =
      kIsWindows ? "no-such-command-of-ours 2>nul" : "no-such-command-of-ours 2>/dev/null";
  EXPECT_FALSE(Utils::ExecSystem(command, true));
  try {
    Utils::ExecSystem(command, false);
    FAIL() << "nothing thrown";
  } catch (const kvr_exception& exception) {
    // Windows and Wine give different numbers here.
    const std::string status = kIsWindows ? std::to_string(std::system(command.c_str())) : "127";
    EXPECT_EQ(exception.what(),
              "ExecSystem system command failed with error: " + status + " command: " + command);
  }
}

// --- RemoveAll, ClearDirectory -------------------------------------------------------------------

TEST_F(FileHelpers, RemoveAllRemovesATree) {
  make_folder("outer");
  make_folder("outer/inner");
  make_file("outer/inner/file", "content");
  make_file("beside", "content");
  EXPECT_TRUE(RemoveAll(in_folder("outer")));
  EXPECT_FALSE(fs::exists(in_folder("outer")));
  EXPECT_TRUE(RemoveAll(in_folder("beside")));
  EXPECT_TRUE(folder.empty());
}

TEST_F(FileHelpers, RemoveAllIsFalseWhenThereIsNothing) {
  EXPECT_FALSE(RemoveAll(in_folder("missing")));
  EXPECT_FALSE(RemoveAll(in_folder("missing/below")));
  EXPECT_FALSE(RemoveAll(in_folder(std::string(5000, 'x'))));
}

TEST_F(FileHelpers, RemoveAllDoesNotFollowALink) {
  if (kIsWindows) {
    GTEST_SKIP() << "this standard library makes no links on Windows";
  }
  make_folder("kept");
  make_file("kept/file", "content");
  fs::create_directory_symlink(in_folder("kept"), in_folder("link"));
  EXPECT_TRUE(RemoveAll(in_folder("link")));
  EXPECT_EQ(folder.read("kept/file"), "content");
}

TEST_F(FileHelpers, ClearDirectoryKeepsTheFolderItself) {
  make_folder("cleared");
  make_folder("cleared/inner");
  make_file("cleared/inner/file", "content");
  for (int i = 0; i < 50; ++i) {
    make_file("cleared/file" + std::to_string(i), "content");
  }
  make_file("beside", "content");
  ClearDirectory(in_folder("cleared"));
  EXPECT_TRUE(fs::is_directory(in_folder("cleared")));
  EXPECT_TRUE(fs::is_empty(in_folder("cleared")));
  EXPECT_EQ(folder.read("beside"), "content");
}

TEST_F(FileHelpers, ClearDirectoryDoesNothingElsewhere) {
  ClearDirectory(in_folder("missing"));
  EXPECT_TRUE(folder.empty());
  ClearDirectory(make_file("file", "content"));
  EXPECT_EQ(folder.read("file"), "content");
  ClearDirectory(make_folder("empty"));
  EXPECT_TRUE(fs::is_directory(in_folder("empty")));
}

// --- Names in bytes ------------------------------------------------------------------------------

TEST_F(FileHelpers, NamesAreBytes) {
  if (kIsWindows) {
    GTEST_SKIP() << "names are no bytes here";
  }
  // UTF-8, and Latin-1 bytes that are no UTF-8.
  for (const std::string name : {"Pr\xC3\xBC"
                                 "fung \xE2\x84\xA6",
                                 "Pr\xFC"
                                 "fung \xFF"}) {
    const std::string inner = in_folder(name);
    const std::string file = (fs::path(inner) / name).string();
    EXPECT_TRUE(Utils::CreateDir(inner));
    Utils::WriteFileData(file, "1");
    EXPECT_TRUE(Utils::WriteToDevice(file, "0"));
    EXPECT_TRUE(FileExists(file));
    EXPECT_FALSE(FileExists(inner));
    EXPECT_TRUE(ReadFlagFile(file));
    EXPECT_EQ(Utils::ReadTextFile(file), "10");
    EXPECT_EQ(Utils::GetFileSize(file), 2);
    EXPECT_TRUE(Utils::UtilCopyFile(file, file + "'"));
    EXPECT_EQ(fs::directory_iterator(folder.path())->path().filename().string(), name);
    Utils::UtilDeleteFile(file);
    EXPECT_FALSE(FileExists(file));
    ClearDirectory(inner);
    EXPECT_TRUE(fs::is_empty(inner));
    EXPECT_TRUE(RemoveAll(inner));
  }
}

// --- The environment -----------------------------------------------------------------------------

/// Sets an environment variable and restores it at the end.
class Environment {
 public:
  Environment(const std::string& name, const std::string& value)
      : name_(name), before_(platform::environment_text(name.c_str(), 32768)) {
    set_environment(name_, value);
  }
  ~Environment() { set_environment(name_, before_); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  std::string name_;
  std::string before_;
};

TEST_F(FileHelpers, TempDirectoryTextIsTheSystemsTemporaryFolder) {
  EXPECT_EQ(TempDirectoryText(), fs::temp_directory_path().string());
  if (kIsWindows) {
    return;  // its variables have other names, and the folder need not exist
  }
  const std::string own = make_folder("tmp-\xC3\xBC");
  const Environment environment("TMPDIR", own);
  EXPECT_EQ(TempDirectoryText(), own);
}

TEST_F(FileHelpers, TempDirectoryTextIsEmptyWhenThereIsNone) {
  if (kIsWindows) {
    GTEST_SKIP() << "the system answers with a folder whether it exists or not";
  }
  const Environment environment("TMPDIR", in_folder("missing"));
  EXPECT_EQ(TempDirectoryText(), "");
}

TEST_F(FileHelpers, AppDataPathIsTheVariable) {
  const Environment environment("APPDATA", "C:\\Users\\Test\\AppData");
  EXPECT_EQ(AppDataPath(), "C:\\Users\\Test\\AppData");
}

TEST_F(FileHelpers, AppDataPathHasAtMost259Bytes) {
  const std::string longest(259, 'a');
  {
    const Environment environment("APPDATA", longest);
    EXPECT_EQ(AppDataPath(), longest);
  }
  const Environment environment("APPDATA", longest + 'a');
  EXPECT_EQ(AppDataPath(), "");
}

TEST_F(FileHelpers, AppDataPathIsEmptyWhenUnset) {
  const Environment environment("APPDATA", "");
  EXPECT_EQ(AppDataPath(), "");
}

}  // namespace

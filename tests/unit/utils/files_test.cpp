#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/platform.h"
#include "support/counted_new.h"
#include "support/log_capture.h"
#include "unit/utils/file_helpers.h"
#include "utils/utils.h"

namespace {

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

}  // namespace

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/platform.h"
#include "support/process.h"
#include "support/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

/// A home folder of its own, with the variables that the documents folder depends on.
class DocumentsFolder : public testing::Test {
 protected:
  DocumentsFolder() {
    set_environment("HOME", home());
    set_environment("XDG_CONFIG_HOME", "");
  }
  ~DocumentsFolder() override {
    set_environment("HOME", saved_home_);
    set_environment("XDG_CONFIG_HOME", saved_config_);
  }

  std::string home() const { return home_.path().string(); }
  void write_user_dirs(const std::string& text) const {
    fs::create_directory(home_.path() / ".config");
    home_.write(".config/user-dirs.dirs", text);
  }
  /// The folder that a user-dirs.dirs with this text names.
  std::optional<std::string> told_by(const std::string& text) const {
    write_user_dirs(text);
    return platform::documents_folder();
  }

  TemporaryFolder home_;

 private:
  static std::string saved(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
  }
  std::string saved_home_ = saved("HOME");
  std::string saved_config_ = saved("XDG_CONFIG_HOME");
};

TEST_F(DocumentsFolder, IsDocumentsInTheHomeFolderWithoutAFile) {
  EXPECT_EQ(platform::documents_folder(), home() + "/Documents");
}

TEST_F(DocumentsFolder, IsMadeWhenMissing) {
  ASSERT_FALSE(fs::exists(home() + "/Documents"));
  platform::documents_folder();
  EXPECT_TRUE(fs::is_directory(home() + "/Documents"));
}

TEST_F(DocumentsFolder, IsMadeWithItsParents) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a/b/c\"\n"), home() + "/a/b/c");
  EXPECT_TRUE(fs::is_directory(home() + "/a/b/c"));
}

TEST_F(DocumentsFolder, StaysAsItIsWhenThere) {
  fs::create_directory(home() + "/Documents");
  home_.write("Documents/file", "kept");
  EXPECT_EQ(platform::documents_folder(), home() + "/Documents");
  EXPECT_EQ(home_.read("Documents/file"), "kept");
}

TEST_F(DocumentsFolder, IsReturnedEvenWhenItCannotBeMade) {
  home_.write("file", "");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/file/Documents\"\n"), home() + "/file/Documents");
  EXPECT_FALSE(fs::exists(home() + "/file/Documents"));
}

TEST_F(DocumentsFolder, BelowHomeIsTakenFromTheFile) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n"), home() + "/Dokumente");
}

TEST_F(DocumentsFolder, MayBeTheHomeFolderItself) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/\"\n"), home());
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME\"\n"), home());
}

TEST_F(DocumentsFolder, MayLieAnywhere) {
  const TemporaryFolder elsewhere;
  const std::string folder = (elsewhere.path() / "My Documents").string();
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"" + folder + "\"\n"), folder);
  EXPECT_TRUE(fs::is_directory(folder));
}

TEST_F(DocumentsFolder, StandsAmongOtherLines) {
  EXPECT_EQ(told_by("# This file is written by a tool.\n"
                    "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"
                    "#XDG_DOCUMENTS_DIR=\"$HOME/Commented\"\n"
                    "  XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n"
                    "XDG_MUSIC_DIR=\"$HOME/Music\"\n"),
            home() + "/Papers");
}

TEST_F(DocumentsFolder, IsTheLastOneInTheFile) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/First\"\nXDG_DOCUMENTS_DIR=\"$HOME/Last\""),
            home() + "/Last");
}

TEST_F(DocumentsFolder, TakesEscapedCharactersAsTheyAre) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a\\\"b\\\\c\\$d\\`e\"\n"), home() + "/a\"b\\c$d`e");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"\\" + home() + "\"\n"), home());  // the first character
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a\\b"), home() + "/ab");    // the last one
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/a\\"), home() + "/a\\");    // of nothing
}

TEST_F(DocumentsFolder, EndsAtTheQuoteAndWithoutASeparator) {
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOME/Papers//\" # mine\n"), home() + "/Papers");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"/\"\n"), "/");
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"//\"\n"), "/");
}

TEST_F(DocumentsFolder, OfAMalformedLineIsIgnored) {
  const std::string ordinary = home() + "/Documents";
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"\"\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"relative\"\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=$HOME/Unquoted\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR_OLD=\"$HOME/Old\"\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR\n"), ordinary);
  EXPECT_EQ(told_by("XDG_DOCUMENTS_DIR=\"$HOMEWARD/Papers\"\n"), ordinary);
  EXPECT_FALSE(fs::exists(home() + "WARD"));
}

TEST_F(DocumentsFolder, FollowsTheConfigurationFolder) {
  const TemporaryFolder config;
  config.write("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/ByConfig\"\n");
  write_user_dirs("XDG_DOCUMENTS_DIR=\"$HOME/ByHome\"\n");
  set_environment("XDG_CONFIG_HOME", config.path().string());
  EXPECT_EQ(platform::documents_folder(), home() + "/ByConfig");
}

TEST_F(DocumentsFolder, IsUnknownWithoutAHome) {
  set_environment("HOME", "");
  EXPECT_EQ(platform::documents_folder(), std::nullopt);
}

TEST_F(DocumentsFolder, WithoutAHomeMayStillBeNamed) {
  const TemporaryFolder config;
  const std::string folder = (config.path() / "Papers").string();
  config.write("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + folder + "\"\n");
  set_environment("HOME", "");
  set_environment("XDG_CONFIG_HOME", config.path().string());
  EXPECT_EQ(platform::documents_folder(), folder);
}

TEST_F(DocumentsFolder, WithoutAHomeIsNotBelowIt) {
  const TemporaryFolder config;
  config.write("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/kvr-test-papers\"\n");
  set_environment("HOME", "");
  set_environment("XDG_CONFIG_HOME", config.path().string());
  EXPECT_EQ(platform::documents_folder(), std::nullopt);
  EXPECT_FALSE(fs::exists("/kvr-test-papers"));
}

TEST(PathSeparator, IsASlash) { EXPECT_EQ(platform::kPathSeparator, '/'); }

TEST(CommandStatus, IsTheResultItselfWithoutAnExitStatus) {
  EXPECT_EQ(platform::command_status(-1), -1);
  const int killed = std::system("kill -KILL $$");
  EXPECT_EQ(platform::command_status(killed), killed);
  EXPECT_NE(killed, 0);
}

TEST(CreateDirectory, LeavesPermissionsToTheUmask) {
  const TemporaryFolder folder;
  const mode_t saved = umask(027);
  EXPECT_TRUE(platform::create_directory(folder.prefix() + "one"));
  umask(saved);
  EXPECT_EQ(fs::status(folder.path() / "one").permissions(), fs::perms(0750));
}

}  // namespace

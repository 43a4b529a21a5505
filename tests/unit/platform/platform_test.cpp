#include "platform/platform.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "support/process.h"
#include "support/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

TEST(CreateDirectory, MakesOneLevel) {
  const TemporaryFolder folder;
  EXPECT_TRUE(platform::create_directory(folder.prefix() + "one"));
  EXPECT_TRUE(fs::is_directory(folder.path() / "one"));
  EXPECT_FALSE(platform::create_directory(folder.prefix() + "two/three"));
  EXPECT_FALSE(fs::exists(folder.path() / "two"));
}

TEST(CreateDirectory, AcceptsASeparatorAtTheEnd) {
  const TemporaryFolder folder;
  EXPECT_TRUE(platform::create_directory(folder.prefix() + "KVRU3/"));
  EXPECT_TRUE(fs::is_directory(folder.path() / "KVRU3"));
}

TEST(CreateDirectory, FailsForWhatIsThereOrHasNoName) {
  const TemporaryFolder folder;
  folder.write("file", "");
  EXPECT_FALSE(platform::create_directory(folder.path().string()));
  EXPECT_FALSE(platform::create_directory(folder.prefix() + "file"));
  EXPECT_FALSE(platform::create_directory(""));
}

TEST(EnvironmentText, IsTheVariableIfItFits) {
  set_environment("KVR_TEST_VARIABLE", "12345");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 260), "12345");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 6), "12345");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 5), "");
  set_environment("KVR_TEST_VARIABLE", "");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 260), "");
}

TEST(CommandStatus, IsTheExitStatusOfTheCommand) {
  EXPECT_EQ(platform::command_status(std::system("exit 0")), 0);
  EXPECT_EQ(platform::command_status(std::system("exit 3")), 3);
  EXPECT_EQ(platform::command_status(std::system("exit 255")), 255);
}

}  // namespace

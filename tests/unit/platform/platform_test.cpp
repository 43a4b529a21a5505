#include "platform/platform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <semaphore>
#include <thread>

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

TEST(CreateDirectory, FailsForAPathThatExistsOrIsEmpty) {
  const TemporaryFolder folder;
  folder.write("file", "");
  EXPECT_FALSE(platform::create_directory(folder.path().string()));
  EXPECT_FALSE(platform::create_directory(folder.prefix() + "file"));
  EXPECT_FALSE(platform::create_directory(""));
}

TEST(FileSize, IsNotCutShort) {
  const TemporaryFolder folder;
  folder.write("file", "abcd");
  EXPECT_EQ(platform::file_size(folder.prefix() + "file"), 4);
  fs::resize_file(folder.path() / "file", 0x100000007U);  // takes no room: it has no content
  EXPECT_EQ(platform::file_size(folder.prefix() + "file"), 0x100000007);
}

TEST(FileSize, IsNoneForAMissingFile) {
  const TemporaryFolder folder;
  EXPECT_EQ(platform::file_size(folder.prefix() + "missing"), std::nullopt);
  EXPECT_EQ(platform::file_size(""), std::nullopt);
}

TEST(EnvironmentText, IsTheVariableIfItFits) {
  set_environment("KVR_TEST_VARIABLE", "12345");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 260), "12345");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 6), "12345");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 5), "");
  set_environment("KVR_TEST_VARIABLE", "");
  EXPECT_EQ(platform::environment_text("KVR_TEST_VARIABLE", 260), "");
}

std::counting_semaphore<> finished{0};
std::atomic<std::thread::id> worker;

TEST(RunDetached, RunsEachWorkOnAThreadOfItsOwn) {
  for (int round = 0; round < 300; ++round) {
    platform::run_detached([] {
      worker = std::this_thread::get_id();
      finished.release();
    });
    ASSERT_TRUE(finished.try_acquire_for(std::chrono::minutes(1))) << round;
    EXPECT_NE(worker.load(), std::this_thread::get_id());
  }
}

TEST(CommandStatus, IsTheExitStatusOfTheCommand) {
  EXPECT_EQ(platform::command_status(std::system("exit 0")), 0);
  EXPECT_EQ(platform::command_status(std::system("exit 3")), 3);
  EXPECT_EQ(platform::command_status(std::system("exit 255")), 255);
}

}  // namespace

// What only these systems have in place of a file. A wait for any of it would hang the test.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_folder.h"
#include "virtual_instrument/bench/bench_source.h"
#include "virtual_instrument/platform/ordinary_file.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class OrdinaryFilePosixTest : public testing::Test {
 protected:
  FileState state(const std::string& name) const {
    return read_ordinary_file(folder_.path() / name, 100).state;
  }
  void make_pipe(const std::string& name) const {
    ASSERT_EQ(mkfifo((folder_.path() / name).c_str(), 0600), 0);
  }

  TemporaryFolder folder_;
};

TEST_F(OrdinaryFilePosixTest, IsNoPipe) {
  make_pipe("pipe");
  EXPECT_EQ(state("pipe"), FileState::kNotOrdinary);
  const int both_ends = open((folder_.path() / "pipe").c_str(), O_RDWR);
  ASSERT_EQ(write(both_ends, "text", 4), 4);
  EXPECT_EQ(state("pipe"), FileState::kNotOrdinary);
  char text[5] = {};
  EXPECT_EQ(read(both_ends, text, 4), 4);  // nobody has taken anything out
  close(both_ends);
}

TEST_F(OrdinaryFilePosixTest, IsNoDevice) {
  for (const char* device : {"/dev/zero", "/dev/null", "/dev/random"}) {
    EXPECT_EQ(read_ordinary_file(device, 100).state, FileState::kNotOrdinary) << device;
  }
}

TEST_F(OrdinaryFilePosixTest, IsNoSocket) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const WorkingFolder working(folder_.path());
  std::string("socket").copy(address.sun_path, sizeof address.sun_path - 1);
  const int socket_end = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(socket_end, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(state("socket"), FileState::kNotOrdinary);
  close(socket_end);
}

TEST_F(OrdinaryFilePosixTest, IsWhatALinkLeadsTo) {
  make_pipe("pipe");
  folder_.write("file", "text");
  fs::create_symlink("pipe", folder_.path() / "to-pipe");
  fs::create_symlink("file", folder_.path() / "to-file");
  fs::create_symlink("nothing", folder_.path() / "to-nothing");
  EXPECT_EQ(state("to-pipe"), FileState::kNotOrdinary);
  EXPECT_EQ(state("to-file"), FileState::kRead);
  EXPECT_EQ(state("to-nothing"), FileState::kUnreadable);
}

TEST_F(OrdinaryFilePosixTest, CanBeLongerThanItsStatusSays) {
  if (!fs::exists("/proc/self/status")) {
    GTEST_SKIP() << "no such files here";
  }
  EXPECT_EQ(fs::file_size("/proc/self/status"), 0U);
  EXPECT_EQ(read_ordinary_file("/proc/self/status", 100).state, FileState::kTooLarge);
  EXPECT_THAT(read_ordinary_file("/proc/self/status", 1 << 20).text, testing::HasSubstr("Pid:"));
}

TEST_F(OrdinaryFilePosixTest, ThatFailsWhileItIsReadIsUnreadable) {
  if (!fs::exists("/proc/self/mem")) {
    GTEST_SKIP() << "no such file here";
  }
  const FileReading reading = read_ordinary_file("/proc/self/mem", 100);
  EXPECT_EQ(reading.state, FileState::kUnreadable);
  EXPECT_EQ(reading.text, "");
}

/// The number that the next file gets.
int next_descriptor() {
  const int next = open("/dev/null", O_RDONLY);
  close(next);
  return next;
}

TEST_F(OrdinaryFilePosixTest, IsClosedAgain) {
  folder_.write("file", "text");
  folder_.write("large", std::string(101, 'x'));
  const int next = next_descriptor();
  EXPECT_EQ(state("file"), FileState::kRead);
  EXPECT_EQ(state("large"), FileState::kTooLarge);
  EXPECT_EQ(next_descriptor(), next);
}

TEST_F(OrdinaryFilePosixTest, IsReadWhereStandardInputIsClosed) {
  folder_.write("file", "text");
  const int input = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  EXPECT_EQ(state("file"), FileState::kRead);
  dup2(input, STDIN_FILENO);
  close(input);
}

// The name changes hands between a look at the file and its opening, at some moments.
TEST_F(OrdinaryFilePosixTest, ThatTurnsIntoAPipeMeanwhileIsNotWaitedFor) {
  make_pipe("pipe");
  folder_.write("file", "text");
  std::atomic<bool> through = false;
  std::thread changing([&] {
    for (int round = 0; round < 5000; ++round) {
      const fs::path next = folder_.path() / "next";
      fs::create_hard_link(folder_.path() / (round % 2 == 0 ? "pipe" : "file"), next);
      fs::rename(next, folder_.path() / "name");
    }
    through = true;
  });
  while (!through) {
    state("name");
  }
  changing.join();
  EXPECT_EQ(state("name"), FileState::kRead);
}

TEST_F(OrdinaryFilePosixTest, AloneIsABench) {
  std::vector<std::string> problems;
  BenchSource source{folder_.path() / "b.toml",
                     [&problems](const std::string& problem) { problems.push_back(problem); }};
  make_pipe("b.toml");
  EXPECT_EQ(source.current()->instrument.serial_number, "VI-000001");
  EXPECT_EQ(source.current()->instrument.serial_number, "VI-000001");
  EXPECT_THAT(problems, ElementsAre((folder_.path() / "b.toml").string() +
                                    ": is no ordinary file; expected a bench file"));
  fs::remove(folder_.path() / "b.toml");
  folder_.write("b.toml", "[instrument]\nserial_number = \"one\"\n");
  EXPECT_EQ(source.current()->instrument.serial_number, "one");
}

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/bench/bench_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_folder.h"
#include "virtual_instrument/bench/bench_reader.h"

namespace virtual_instrument {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BenchSourceTest : public testing::Test {
 protected:
  void write(const std::string& text) { folder_.write("b.toml", text, std::ios::binary); }
  std::string serial() { return source_.current()->instrument.serial_number; }
  std::string name() const { return (folder_.path() / "b.toml").string(); }

  TemporaryFolder folder_;
  std::vector<std::string> problems_;
  BenchSource source_{folder_.path() / "b.toml",
                      [this](const std::string& problem) { problems_.push_back(problem); }};
};

TEST_F(BenchSourceTest, FollowsTheFile) {
  write("[instrument]\nserial_number = \"one\"\n");
  EXPECT_TRUE(source_.can_change());
  EXPECT_EQ(serial(), "one");
  const std::shared_ptr<const Bench> before = source_.current();
  EXPECT_EQ(source_.current(), before);
  write("[instrument]\nserial_number = \"two\"\n");
  EXPECT_EQ(serial(), "two");
  EXPECT_EQ(before->instrument.serial_number, "one");
  write("# as built in\n");
  EXPECT_EQ(serial(), "VI-000001");
  EXPECT_THAT(problems_, IsEmpty());
}

TEST_F(BenchSourceTest, TheLastGoodBenchStaysInForceAndAMistakeIsReportedOnce) {
  write("[instrument]\nserial_number = \"one\"\n");
  EXPECT_EQ(serial(), "one");
  write("[instrument]\nserial_number = 2\n");
  EXPECT_EQ(serial(), "one");
  EXPECT_EQ(serial(), "one");
  EXPECT_THAT(problems_,
              ElementsAre(name() + ":2: instrument.serial_number: expected a text of at most 20 "
                                   "characters",
                          name() + ": not taken; the last good bench stays in force"));
  write("[instrument]\nserial_number = \"two\"\n");
  EXPECT_EQ(serial(), "two");
}

TEST_F(BenchSourceTest, AMissingFileIsReportedOnceAndReadWhenItComes) {
  EXPECT_EQ(serial(), "VI-000001");
  EXPECT_EQ(serial(), "VI-000001");
  EXPECT_THAT(problems_, ElementsAre(name() + ": can't be read; expected a bench file"));
  write("[instrument]\nserial_number = \"one\"\n");
  EXPECT_EQ(serial(), "one");
}

TEST_F(BenchSourceTest, AFolderIsToldOnceAndTheFileTakenThatComesInItsPlace) {
  write("[instrument]\nserial_number = \"one\"\n");
  EXPECT_EQ(serial(), "one");
  std::filesystem::remove(folder_.path() / "b.toml");
  std::filesystem::create_directory(folder_.path() / "b.toml");
  EXPECT_EQ(serial(), "one");
  EXPECT_EQ(serial(), "one");
  EXPECT_THAT(problems_, ElementsAre(name() + ": is a folder; expected a bench file"));
  std::filesystem::remove(folder_.path() / "b.toml");
  write("[instrument]\nserial_number = \"two\"\n");
  EXPECT_EQ(serial(), "two");
}

TEST_F(BenchSourceTest, AFileBeyondOneMebibyteIsToldOnceAndTakenOnceItIsSmaller) {
  const std::string two = "[instrument]\nserial_number = \"two\"\n#";
  const std::string largest = two + std::string((1 << 20) - two.size(), 'x');
  write(largest + "x");
  EXPECT_EQ(serial(), "VI-000001");
  EXPECT_EQ(serial(), "VI-000001");
  EXPECT_THAT(problems_, ElementsAre(name() + ": is larger than 1 MiB; expected a bench file"));
  write(largest);
  EXPECT_EQ(serial(), "two");
}

TEST_F(BenchSourceTest, EachTroubleWithTheFileIsToldWhenItComes) {
  EXPECT_EQ(serial(), "VI-000001");
  std::filesystem::create_directory(folder_.path() / "b.toml");
  EXPECT_EQ(serial(), "VI-000001");
  std::filesystem::remove(folder_.path() / "b.toml");
  EXPECT_EQ(serial(), "VI-000001");
  EXPECT_THAT(problems_, ElementsAre(name() + ": can't be read; expected a bench file",
                                     name() + ": is a folder; expected a bench file",
                                     name() + ": can't be read; expected a bench file"));
}

TEST_F(BenchSourceTest, AnEmptyFileIsOneThatIsBeingWritten) {
  write("[instrument]\nserial_number = \"one\"\n");
  EXPECT_EQ(serial(), "one");
  write("");
  EXPECT_EQ(serial(), "one");
}

// A late look that saw the older bench would lose a connection that has just been made.
TEST_F(BenchSourceTest, LooksComeInTheOrderOfTheReadings) {
  write("[instrument]\nserial_number = \"one\"\n");
  std::vector<std::string> looks;
  std::promise<void> read;
  std::thread other([&] {
    read.get_future().wait();
    source_.look([&](const Bench& bench) { looks.push_back(bench.instrument.serial_number); });
  });
  const std::shared_ptr<const Bench> given = source_.look([&](const Bench& bench) {
    write("[instrument]\nserial_number = \"two\"\n");
    read.set_value();
    // Long enough for the other look to come first if nothing made it wait.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    looks.push_back(bench.instrument.serial_number);
  });
  other.join();
  EXPECT_EQ(given->instrument.serial_number, "one");
  EXPECT_THAT(looks, ElementsAre("one", "two"));
}

TEST_F(BenchSourceTest, AFileIsReadOnceWithoutASource) {
  write("[instrument]\nserial_number = \"one\"\n");
  const BenchReading good = read_bench_file(name());
  EXPECT_EQ(good.bench.instrument.serial_number, "one");
  EXPECT_THAT(good.problems, IsEmpty());
  const BenchReading missing = read_bench_file(name() + "x");
  EXPECT_EQ(missing.bench.instrument.serial_number, "VI-000001");
  EXPECT_THAT(missing.problems, ElementsAre(name() + "x: can't be read; expected a bench file"));
}

TEST(BenchSource, WritesAProblemAsALineToStandardError) {
  std::ostringstream written;
  std::streambuf* const before = std::cerr.rdbuf(written.rdbuf());
  BenchSource::write_to_standard_error("b.toml: is a folder");
  std::cerr.rdbuf(before);
  EXPECT_EQ(written.str(), "b.toml: is a folder\n");
}

TEST(BenchSource, WithoutAFileTheBuiltInBenchHolds) {
  BenchSource source{std::filesystem::path()};
  EXPECT_FALSE(source.can_change());
  EXPECT_EQ(source.current()->instrument.serial_number, built_in_bench().instrument.serial_number);
}

}  // namespace
}  // namespace virtual_instrument

#include "toml/toml_problems.h"

#include <gmock/gmock.h>

namespace toml_file {
namespace {

using testing::ElementsAre;

TEST(TomlProblems, NameFileLineAndKey) {
  Problems problems("bench.toml");
  EXPECT_TRUE(problems.empty());
  problems.add(3, "device.serial", "expected text");
  problems.add(7, "", "expected a key");
  EXPECT_EQ(problems.size(), 2U);
  EXPECT_THAT(problems.in_order(), ElementsAre("bench.toml:3: device.serial: expected text",
                                               "bench.toml:7: expected a key"));
}

TEST(TomlProblems, OfTheCommandLineNameNoLine) {
  Problems problems("plan.toml");
  problems.add(0, "run.mode", "no such key");
  EXPECT_THAT(problems.in_order(), ElementsAre("-e: run.mode: no such key"));
}

TEST(TomlProblems, ComeByLineAndThenAsTheyWereFound) {
  Problems problems("f");
  problems.add(9, "z", "last");
  problems.add(2, "b", "found first");
  problems.add(2, "a", "found second");
  EXPECT_THAT(problems.in_order(),
              ElementsAre("f:2: b: found first", "f:2: a: found second", "f:9: z: last"));
}

TEST(TomlProblems, AreSaidOnce) {
  Problems problems("f");
  problems.add(2, "a", "expected text");
  problems.add(2, "a", "expected text");
  problems.add(3, "a", "expected text");
  EXPECT_EQ(problems.size(), 2U);
  EXPECT_THAT(problems.in_order(), ElementsAre("f:2: a: expected text", "f:3: a: expected text"));
}

TEST(TomlProblems, StayOnOneLine) {
  Problems problems("f");
  problems.add(1, "a\nb", "no such key");
  EXPECT_EQ(problems.in_order().front().find('\n'), std::string::npos);
}

}  // namespace
}  // namespace toml_file

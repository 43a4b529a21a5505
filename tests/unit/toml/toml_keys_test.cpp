#include "toml/toml_keys.h"

#include <gtest/gtest.h>

#include <string>

namespace toml_file {
namespace {

TomlValue value_of(const std::string& text) {
  return std::get<TomlTable>(read_toml("a = " + text)).front().value;
}

TEST(TomlKeys, SayWhatTheyTake) {
  bool truth{};
  double real{};
  std::int32_t whole_number{};
  std::string words;
  std::optional<std::int64_t> time;
  EXPECT_EQ(flag("a", truth).expected, "true or false");
  EXPECT_EQ(number("a", real, -0.5, 1e6, "V").expected, "a number from -0.5 to 1e+06 V");
  EXPECT_EQ(number("a", real, 0, 1, "").expected, "a number from 0 to 1");
  EXPECT_EQ(percent("a", real, 0, 90).expected, "a number from 0 to 90 percent");
  EXPECT_EQ(whole("a", whole_number, -1, 2).expected, "a whole number from -1 to 2");
  EXPECT_EQ(power_of_two("a", whole_number, 4, 8).expected, "a power of two from 4 to 8");
  EXPECT_EQ(text("a", words, 3).expected, "a text of at most 3 characters");
  EXPECT_EQ(clock("a", time).expected,
            "\"system\", or a date and time with its offset like 2024-03-05T12:00:00Z");
}

TEST(TomlKeys, TakeAFlag) {
  bool target = true;
  const Key key = flag("a", target);
  EXPECT_TRUE(key.take(value_of("false")));
  EXPECT_FALSE(target);
  EXPECT_TRUE(key.take(value_of("true")));
  EXPECT_TRUE(target);
  EXPECT_FALSE(key.take(value_of("0")));
  EXPECT_FALSE(key.take(value_of("'true'")));
}

TEST(TomlKeys, TakeANumberUpToItsBounds) {
  double target = 0;
  const Key key = number("a", target, -1, 2.5, "");
  EXPECT_TRUE(key.take(value_of("2")));
  EXPECT_EQ(target, 2);
  EXPECT_TRUE(key.take(value_of("2.5")));
  EXPECT_EQ(target, 2.5);
  EXPECT_TRUE(key.take(value_of("-1.0")));
  for (const char* const other :
       {"-1.01", "3", "nan", "inf", "-inf", "9223372036854775807", "'1'", "true", "[1]"}) {
    EXPECT_FALSE(key.take(value_of(other))) << other;
  }
}

TEST(TomlKeys, TakeAHundredthOfAPercentage) {
  double target = 0;
  const Key key = percent("a", target, 1, 90);
  EXPECT_TRUE(key.take(value_of("50")));
  EXPECT_EQ(target, 0.5);
  EXPECT_FALSE(key.take(value_of("0.5")));
}

TEST(TomlKeys, TakeAWholeNumberUpToItsBounds) {
  std::int32_t target = 0;
  const Key key = whole("a", target, -3, 7);
  EXPECT_TRUE(key.take(value_of("-3")));
  EXPECT_EQ(target, -3);
  EXPECT_TRUE(key.take(value_of("0x7")));
  EXPECT_EQ(target, 7);
  for (const char* const other : {"-4", "8", "1.0", "4294967296", "'1'", "true"}) {
    EXPECT_FALSE(key.take(value_of(other))) << other;
  }
}

TEST(TomlKeys, TakeAPowerOfTwo) {
  std::int32_t target = 0;
  const Key key = power_of_two("a", target, 4, 16);
  EXPECT_TRUE(key.take(value_of("8")));
  EXPECT_EQ(target, 8);
  for (const char* const other : {"2", "12", "32", "8.0"}) {
    EXPECT_FALSE(key.take(value_of(other))) << other;
  }
}

TEST(TomlKeys, TakeATextThatFits) {
  std::string target;
  const Key key = text("a", target, 3);
  EXPECT_TRUE(key.take(value_of("'abc'")));
  EXPECT_EQ(target, "abc");
  EXPECT_TRUE(key.take(value_of("''")));
  EXPECT_EQ(target, "");
  for (const char* const other : {"'abcd'", "\"\\u0000\"", "1", "['a']"}) {
    EXPECT_FALSE(key.take(value_of(other))) << other;
  }
}

TEST(TomlKeys, TakeAMomentWithItsOffset) {
  std::optional<std::int64_t> target = 7;
  const Key key = clock("a", target);
  EXPECT_TRUE(key.take(value_of("1969-12-31T23:59:58.9Z")));
  EXPECT_EQ(target, -2);
  EXPECT_TRUE(key.take(value_of("'system'")));
  EXPECT_EQ(target, std::nullopt);
  EXPECT_TRUE(key.take(value_of("2024-02-29T00:30:00-01:30")));
  EXPECT_EQ(target, 1709172000);
  for (const char* const other :
       {"2024-03-05T12:00:00", "2024-03-05", "12:00:00", "'System'", "0"}) {
    EXPECT_FALSE(key.take(value_of(other))) << other;
  }
}

TEST(TakeTexts, StopsAtTheFirstThatMakesNoSense) {
  std::string taken;
  const auto take = [&taken](const std::string& text) {
    taken += text;
    return text != "b";
  };
  EXPECT_TRUE(take_texts(value_of("['x', 'y']"), take));
  EXPECT_TRUE(take_texts(value_of("[]"), take));
  EXPECT_FALSE(take_texts(value_of("['a', 'b', 'c']"), take));
  EXPECT_EQ(taken, "xyab");
  EXPECT_FALSE(take_texts(value_of("[1]"), take));
  EXPECT_FALSE(take_texts(value_of("'a'"), take));
}

}  // namespace
}  // namespace toml_file

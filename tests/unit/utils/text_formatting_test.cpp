#include "utils/text_formatting.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string model_text(std::string_view name) {
  const ModelInfo model = ModelFromName(name);
  return std::to_string(model.instrument_type) + " " + std::to_string(model.tier);
}

TEST(ModelFromName, KnowsEveryModel) {
  const std::pair<const char*, const char*> models[] = {
      {"KVRU3-BSC", "0 10"},  {"KVRU3-ADV", "0 20"}, {"KVRU3-PRO", "0 30"},  {"KVRU3-EXP", "0 40"},
      {"KVRU3-TEST", "0 50"}, {"KAU3-BSC", "1 10"},  {"KAU3-ADV", "1 20"},   {"KAU3-PRO", "1 30"},
      {"KAU3-EXP", "1 40"},   {"KAU3-TEST", "1 50"}, {"KWAU3-BSC", "1 10"},  {"KWAU3-ADV", "1 20"},
      {"KWAU3-PRO", "1 30"},  {"KWAU3-EXP", "1 40"}, {"KWAU3-TEST", "1 50"}, {"KVRU1-BSC", "2 10"},
      {"KVRU1-ADV", "2 20"},  {"KVRU1-PRO", "2 30"}, {"KVRU1-EXP", "2 40"},  {"KVRU1-TEST", "2 50"},
      {"KAU1-BSC", "3 10"},   {"KAU1-ADV", "3 20"},  {"KAU1-PRO", "3 30"},   {"KAU1-EXP", "3 40"},
      {"KAU1-TEST", "3 50"},
  };
  for (const auto& [name, expected] : models) {
    EXPECT_EQ(model_text(name), expected) << name;
  }
}

TEST(ModelFromName, GivesZerosForEveryOtherName) {
  for (const char* name : {"kvru3-adv", "KVRU3-ADv", "KVRU3", "KVRU3-", "KVRU3-ADV ", " KVRU3-ADV",
                           "KWAU1-ADV", "-ADV", ""}) {
    EXPECT_EQ(model_text(name), "0 0") << name;
  }
}

TEST(ModelTierText, HasAWordForEachTier) {
  for (std::int32_t tier = -10; tier <= 70; ++tier) {
    const std::string expected = tier == 10   ? "BSC"
                                 : tier == 20 ? "ADV"
                                 : tier == 30 ? "PRO"
                                 : tier == 40 ? "EXP"
                                 : tier == 50 ? "TEST"
                                              : "UNKNOWN";
    EXPECT_EQ(model_tier_text(tier), expected) << tier;
  }
}

TEST(PairText, NamesThePairsOfBothSides) {
  const std::pair<const char*, const char*> pairs[] = {{"H1-H2", "X1-X2"}, {"H2-H3", "X2-X3"},
                                                       {"H1-H3", "X1-X3"}, {"H0-H1", "X0-X1"},
                                                       {"H0-H2", "X0-X2"}, {"H0-H3", "X0-X3"}};
  std::int32_t code = MEASURE_AB;
  for (const auto& [high, low] : pairs) {
    EXPECT_EQ(PairTextH(static_cast<Measure>(code)), high);
    EXPECT_EQ(PairTextX(static_cast<Measure>(code)), low);
    ++code;
  }
}

TEST(PairText, IsUnknownForEveryOtherCode) {
  for (const std::int32_t code : {0, 7, -1, 100, std::numeric_limits<std::int32_t>::min(),
                                  std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(PairTextH(static_cast<Measure>(code)), "unknown") << code;
    EXPECT_EQ(PairTextX(static_cast<Measure>(code)), "unknown") << code;
  }
}

constexpr float kHour = 3.14159265F / 6.0F;

TEST(ClockFromAngle, CountsHoursOfThirtyDegrees) {
  for (int hour = 0; hour < 12; ++hour) {
    EXPECT_EQ(ClockFromAngle(static_cast<float>(hour) * kHour), hour);
  }
}

TEST(ClockFromAngle, StaysWithinOneRound) {
  EXPECT_EQ(ClockFromAngle(12 * kHour), 0);
  EXPECT_EQ(ClockFromAngle(13 * kHour), 1);
  EXPECT_EQ(ClockFromAngle(-kHour), 11);
  EXPECT_EQ(ClockFromAngle(-12 * kHour), 0);
  EXPECT_EQ(ClockFromAngle(-25 * kHour), 11);
  EXPECT_EQ(ClockFromAngle(1205 * kHour), 5);
}

TEST(ClockFromAngle, RoundsToTheNearestHour) {
  EXPECT_EQ(ClockFromAngle(0.49F * kHour), 0);
  EXPECT_EQ(ClockFromAngle(0.51F * kHour), 1);
  EXPECT_EQ(ClockFromAngle(-0.49F * kHour), 0);
  EXPECT_EQ(ClockFromAngle(-0.51F * kHour), 11);
  EXPECT_EQ(ClockFromAngle(11.51F * kHour), 0);
}

TEST(ClockFromAngle, HasAValueForAnglesBeyondCounting) {
  EXPECT_EQ(ClockFromAngle(std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(ClockFromAngle(std::numeric_limits<float>::infinity()), 0);
  EXPECT_EQ(ClockFromAngle(-std::numeric_limits<float>::infinity()), 0);
  EXPECT_EQ(ClockFromAngle(std::numeric_limits<float>::max()), 0);
  EXPECT_EQ(ClockFromAngle(-3e9F), 0);
}

TEST(ApplyReplacements, GoesThroughTheMapInItsOwnOrder) {
  const std::map<std::string, std::string> upwards = {{"a", "b"}, {"b", "c"}};
  EXPECT_EQ(ApplyReplacements("ab", upwards), "cc");
  const std::map<std::string, std::string, std::greater<>> downwards = {{"a", "b"}, {"b", "c"}};
  EXPECT_EQ(ApplyReplacements("ab", downwards), "bc");
  const std::vector<std::pair<std::string, std::string>> listed = {{"b", "ba"}, {"a", "(b)"}};
  EXPECT_EQ(ApplyReplacements("ab", listed), "(b)b(b)");
}

TEST(ApplyReplacements, LeavesATextWithoutKeysAlone) {
  EXPECT_EQ(ApplyReplacements("ab", std::map<std::string, std::string>{}), "ab");
  EXPECT_EQ(ApplyReplacements("ab", std::map<std::string, std::string>{{"x", "y"}}), "ab");
}

TEST(ByteToText, IsDecimal) {
  EXPECT_EQ(ByteToText(0), "0");
  EXPECT_EQ(ByteToText(7), "7");
  EXPECT_EQ(ByteToText(65), "65");
  EXPECT_EQ(ByteToText(255), "255");
}

}  // namespace

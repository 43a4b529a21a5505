#include "flows/voltage_plan.h"

#include <gmock/gmock.h>

#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "support/session_test.h"

namespace {

using testing::Each;
using testing::IsEmpty;

const std::string kPrompt =
    "Enter Test Voltage \n"
    " empty for 8V,\n"
    "'A' - ascending  test, Z - descending auto test\n"
    "10x5 - auto repeating (VxN - test N times at V voltage))\n";

using Voltages = std::vector<float>;

Voltages voltages_of(const VoltagePlan& plan) {
  Voltages voltages;
  for (const VoltagePlanEntry& entry : plan) {
    EXPECT_EQ(entry.test_method, 0);
    voltages.push_back(entry.voltage);
  }
  return voltages;
}

class VoltagePlanPrompt : public SessionTest {
 protected:
  /// The plan of an answer that the prompt accepts.
  static Voltages plan_of(const std::string& answer) {
    const Console console(answer + "\n4.5\n");
    const Voltages voltages = voltages_of(prompt_voltage_plan());
    EXPECT_EQ(console.output(), kPrompt) << answer;
    EXPECT_EQ(console.unread(), "4.5\n") << answer;
    return voltages;
  }
  static void expect_asked_again(const std::string& answer) {
    const Console console(answer + "\n4.5\n");
    EXPECT_EQ(voltages_of(prompt_voltage_plan()), Voltages{4.5F}) << answer;
    EXPECT_EQ(console.output(), kPrompt + kPrompt) << answer;
  }
};

TEST_F(VoltagePlanPrompt, GivesTheDefaultForAnEmptyLine) { EXPECT_EQ(plan_of(""), Voltages{8.0F}); }

TEST_F(VoltagePlanPrompt, GivesTheAscendingSequence) {
  const Voltages ascending = {3.0F, 6.0F, 12.0F, 24.0F, 36.0F, 47.0F};
  EXPECT_EQ(plan_of("A"), ascending);
  EXPECT_EQ(plan_of("a"), ascending);
}

TEST_F(VoltagePlanPrompt, GivesTheDescendingSequence) {
  const Voltages descending = {47.0F, 36.0F, 24.0F, 12.0F, 6.0F, 3.0F};
  EXPECT_EQ(plan_of("Z"), descending);
  EXPECT_EQ(plan_of("z"), descending);
}

TEST_F(VoltagePlanPrompt, TakesALetterOnlyAlone) {
  expect_asked_again("AZ");
  expect_asked_again("A ");
  expect_asked_again(" a");
  expect_asked_again("zz");
  expect_asked_again("B");
}

TEST_F(VoltagePlanPrompt, RepeatsAVoltage) {
  const Voltages five(5, 10.0F);
  EXPECT_EQ(plan_of("10x5"), five);
  EXPECT_EQ(plan_of("10X5"), five);
  EXPECT_EQ(plan_of("10x5abc"), five);
  EXPECT_EQ(plan_of("10 x 5"), five);
  EXPECT_EQ(plan_of("10Vx5"), five);
  EXPECT_EQ(plan_of("10x5.9"), five);
  EXPECT_EQ(plan_of("10x1"), Voltages{10.0F});
}

TEST_F(VoltagePlanPrompt, CountsAfterTheFirstX) {
  EXPECT_EQ(plan_of("1x2x3"), Voltages(2, 1.0F));
  EXPECT_EQ(plan_of("1X2x3"), Voltages(2, 1.0F));
}

TEST_F(VoltagePlanPrompt, ReadsTheVoltageFromTheWholeLine) {
  EXPECT_EQ(plan_of("0x10"), Voltages(10, 16.0F));
  EXPECT_EQ(plan_of("1e1x3"), Voltages(3, 10.0F));
}

TEST_F(VoltagePlanPrompt, CountsInDecimal) { EXPECT_EQ(plan_of("1x010"), Voltages(10, 1.0F)); }

TEST_F(VoltagePlanPrompt, MayGiveAnEmptyPlan) {
  EXPECT_THAT(plan_of("10x0"), IsEmpty());
  EXPECT_THAT(plan_of("10x-3"), IsEmpty());
}

TEST_F(VoltagePlanPrompt, AsksAgainForARepetitionWithoutBothNumbers) {
  expect_asked_again("10x");
  expect_asked_again("x5");
  expect_asked_again("Ax5");
  expect_asked_again("x");
  expect_asked_again("X");
  expect_asked_again("10xfive");
}

TEST_F(VoltagePlanPrompt, AsksAgainForMoreTestsThanAnybodyCanMake) {
  expect_asked_again("10x2147483647");
  expect_asked_again("10x2147483648");
  expect_asked_again("10x16777217");
}

TEST_F(VoltagePlanPrompt, TakesTheLongestPlan) {
  const Console console("10x16777216\n");
  EXPECT_EQ(prompt_voltage_plan().size(), 16777216U);
  EXPECT_EQ(console.output(), kPrompt);
}

TEST_F(VoltagePlanPrompt, TakesALongPlan) { EXPECT_EQ(plan_of("10x100000").size(), 100000U); }

TEST_F(VoltagePlanPrompt, TakesOneVoltage) {
  EXPECT_EQ(plan_of("12.5"), Voltages{12.5F});
  EXPECT_EQ(plan_of("12.5V"), Voltages{12.5F});
  EXPECT_EQ(plan_of("  12.5"), Voltages{12.5F});
  EXPECT_EQ(plan_of("-5"), Voltages{-5.0F});
  EXPECT_EQ(plan_of("1000"), Voltages{1000.0F});
  EXPECT_EQ(plan_of("0"), Voltages{0.0F});
  EXPECT_EQ(plan_of("0.1"), Voltages{0.1F});
  EXPECT_TRUE(std::isinf(plan_of("inf").at(0)));
}

TEST_F(VoltagePlanPrompt, AsksAgainForWhatDoesNotFit) {
  expect_asked_again("1e50");
  expect_asked_again("-1e50");
  expect_asked_again("1e50x2");
}

TEST_F(VoltagePlanPrompt, AsksAgainForWhatIsNoNumber) {
  expect_asked_again("abc");
  expect_asked_again(" ");
  expect_asked_again(",5");
}

TEST_F(VoltagePlanPrompt, IsVisibleBeforeItReads) {
  const Console console("abc\n\n");
  prompt_voltage_plan();
  EXPECT_EQ(console.visible_output(), kPrompt + kPrompt);
  EXPECT_THAT(clock.sleeps, IsEmpty());
}

TEST_F(VoltagePlanPrompt, LeavesStandardOutputAtAPrecisionOfTwo) {
  const Console console("\n");
  ASSERT_EQ(std::cout.precision(), 6);
  prompt_voltage_plan();
  EXPECT_EQ(std::cout.precision(), 2);
  std::cout << 12.345 << ' ' << 100.0;
  EXPECT_EQ(console.output(), kPrompt + "12 1e+02");
}

TEST_F(VoltagePlanPrompt, PausesWhereItAsksForEver) {
  end_waiting(clock, 3);
  const Console console("abc");
  EXPECT_THROW(prompt_voltage_plan(), WaitedForEver);
  EXPECT_EQ(console.output(), kPrompt + kPrompt + kPrompt + kPrompt);
  EXPECT_THAT(clock.sleeps_ms(), Each(100));
}

TEST(VoltagePlanEntryLayout, IsAnIntegerAndAFloat) {
  static_assert(sizeof(VoltagePlanEntry::test_method) == 4);
  static_assert(std::is_same_v<decltype(VoltagePlanEntry::voltage), float>);
}

}  // namespace

#include "console/prompts.h"

#include <gmock/gmock.h>

#include <cmath>
#include <iostream>
#include <string>

#include "console/session.h"
#include "support/session_test.h"

namespace {

using testing::Each;
using testing::IsEmpty;

class PromptTestId : public SessionTest {};

const std::string kAskTestId = "Test ID (leave empty for date/time): ";
const std::string kExists = "Already exists. Please choose a different Test ID\n";
const std::string kTooLong = "Test ID is too long. You can't use ID longer than 16 symbols\n";

TEST_F(PromptTestId, ReturnsAnIdThatNoRecordHas) {
  const Console console("T 1\n");
  EXPECT_EQ(prompt_test_id(), "T 1");
  EXPECT_EQ(console.output(), kAskTestId);
  EXPECT_EQ(console.visible_output(), kAskTestId);
  EXPECT_EQ(call_lines(), "kvr_CheckRecordExists \"T 1\" exists=false\n");
}

TEST_F(PromptTestId, ReturnsAnEmptyIdUnchecked) {
  const Console console("\n");
  EXPECT_EQ(prompt_test_id(), "");
  EXPECT_EQ(console.output(), kAskTestId);
  EXPECT_EQ(call_lines(), "");
}

TEST_F(PromptTestId, AsksAgainForAnIdThatExists) {
  api.answer(ApiCall::CheckRecordExists, {.exists = true});
  const Console console("T1\nT2\n");
  EXPECT_EQ(prompt_test_id(), "T2");
  EXPECT_EQ(console.output(), kAskTestId + kExists + kAskTestId);
}

TEST_F(PromptTestId, TakesSixteenBytes) {
  const Console console("1234567890123456\n");
  EXPECT_EQ(prompt_test_id(), "1234567890123456");
  EXPECT_EQ(console.output(), kAskTestId);
}

TEST_F(PromptTestId, AsksAgainForSeventeenBytes) {
  const Console console("12345678901234567\nT2\n");
  EXPECT_EQ(prompt_test_id(), "T2");
  EXPECT_EQ(console.output(), kAskTestId + kTooLong + kAskTestId);
}

TEST_F(PromptTestId, CountsBytesAndNotLetters) {
  const Console console("\xC3\xB8\xC3\xB8\xC3\xB8\xC3\xB8\xC3\xB8\xC3\xB8\xC3\xB8\xC3\xB8x\nT2\n");
  EXPECT_EQ(prompt_test_id(), "T2");
  EXPECT_EQ(console.output(), kAskTestId + kTooLong + kAskTestId);
}

TEST_F(PromptTestId, GivesBothReasonsInOrder) {
  api.answer(ApiCall::CheckRecordExists, {.exists = true});
  const Console console("12345678901234567\nT2\n");
  EXPECT_EQ(prompt_test_id(), "T2");
  EXPECT_EQ(console.output(), kAskTestId + kExists + kTooLong + kAskTestId);
}

TEST_F(PromptTestId, KeepsTheLastAnswerOfALibraryThatFails) {
  api.answer(ApiCall::CheckRecordExists, {.exists = true});
  api.answer(ApiCall::CheckRecordExists, {.result = KVR_RES_SQL_DATABASE_ERROR});
  const Console console("T1\nT2\n\n");
  EXPECT_EQ(prompt_test_id(), "");
  EXPECT_EQ(console.output(), kAskTestId + kExists + kAskTestId + kExists + kAskTestId);
  EXPECT_EQ(call_lines(),
            "kvr_CheckRecordExists \"T1\" exists=false\n"
            "kvr_CheckRecordExists \"T2\" exists=true\n");
}

TEST_F(PromptTestId, TreatsAFailureAtTheFirstPromptAsAFreeId) {
  api.answer(ApiCall::CheckRecordExists, {.result = KVR_RES_SQL_DATABASE_ERROR});
  const Console console("T1\n");
  EXPECT_EQ(prompt_test_id(), "T1");
  EXPECT_EQ(console.output(), kAskTestId);
}

TEST_F(PromptTestId, StartsEachTimeWithAFreeId) {
  api.answer(ApiCall::CheckRecordExists, {.exists = true});
  api.answer(ApiCall::CheckRecordExists, {.result = KVR_RES_SQL_DATABASE_ERROR});
  {
    const Console console("T1\n\n");
    prompt_test_id();
  }
  const Console console("T2\n");
  EXPECT_EQ(prompt_test_id(), "T2");
}

TEST_F(PromptTestId, KeepsItsLineAndPausesAtTheEndOfInput) {
  {
    const Console console("OLD\n");
    prompt_test_id();
  }
  api.answer_always(ApiCall::CheckRecordExists, {.exists = true});
  end_waiting(clock, 3);
  const Console console("");
  std::cin.setstate(std::ios::eofbit | std::ios::failbit);
  EXPECT_THROW(prompt_test_id(), WaitedForEver);
  EXPECT_EQ(console.output(), kAskTestId + kExists + kAskTestId + kExists + kAskTestId + kExists);
  EXPECT_THAT(clock.sleeps_ms(), Each(100));
}

class PromptRecordId : public SessionTest {};

TEST_F(PromptRecordId, TakesAnyLine) {
  const Console console("an ID of far more than thirty bytes, \"quoted\"\n\n");
  EXPECT_STREQ(prompt_record_id(), "an ID of far more than thirty bytes, \"quoted\"");
  EXPECT_STREQ(prompt_record_id(), "");
  EXPECT_EQ(console.output(), "Test ID: Test ID: ");
  EXPECT_EQ(console.visible_output(), console.output());
  EXPECT_EQ(call_lines(), "");
}

TEST_F(PromptRecordId, ReturnsAnIdThatStaysUntilItsNextCall) {
  const Console console("first\nother.csv\nsecond\n");
  const char* const id = prompt_record_id();
  prompt_csv_name();
  EXPECT_STREQ(id, "first");
  prompt_record_id();
}

class PromptCsvName : public SessionTest {};

TEST_F(PromptCsvName, AddsItsSuffixEvenToAnEmptyName) {
  const Console console("results\nresults.csv\n\n");
  EXPECT_STREQ(prompt_csv_name(), "results.csv");
  EXPECT_STREQ(prompt_csv_name(), "results.csv.csv");
  EXPECT_STREQ(prompt_csv_name(), ".csv");
  const std::string ask = "CSV filename (leave empty for none): ";
  EXPECT_EQ(console.output(), ask + ask + ask);
}

class ChooseRawData : public SessionTest {};

const std::string kRawDataMenu =
    "1. Create RAW Data File\n"
    "2. No Show RAW Data\n"
    "0. Cancel\n";

TEST_F(ChooseRawData, SwitchesOnAndOff) {
  const Console console("2\n1\n");
  choose_raw_data();
  EXPECT_FALSE(raw_data_enabled);
  choose_raw_data();
  EXPECT_TRUE(raw_data_enabled);
  EXPECT_EQ(console.output(), kRawDataMenu + kRawDataMenu);
}

TEST_F(ChooseRawData, LeavesTheChoiceAloneForAnyOtherAnswer) {
  for (const bool enabled : {true, false}) {
    raw_data_enabled = enabled;
    const Console console("0\n3\n-1\n12\n");
    for (int i = 0; i < 4; ++i) {
      choose_raw_data();
      EXPECT_EQ(raw_data_enabled, enabled);
    }
  }
}

class ChoosePhase : public SessionTest {};

using Chooser = void (*)(std::int32_t&, std::int32_t&);

struct PhaseAnswer {
  const char* answer;
  std::int32_t phase;
};

constexpr PhaseAnswer kPhaseAnswers[] = {{"1\n", 1},  {"2\n", 2},  {"3\n", 3}, {"4\n", 4},
                                         {"5\n", 5},  {"6\n", 6},  {"7\n", 1}, {"0\n", 1},
                                         {"-1\n", 1}, {"100\n", 1}};

void expect_choices(Chooser choose, const std::string& menu) {
  for (const auto& [answer, expected] : kPhaseAnswers) {
    std::int32_t phase = 77;
    std::int32_t extra = 88;
    const Console console(answer);
    choose(phase, extra);
    EXPECT_EQ(phase, expected) << answer;
    EXPECT_EQ(extra, 0);
    EXPECT_EQ(console.output(), menu);
  }
}

TEST_F(ChoosePhase, OfTheHighSide) {
  expect_choices(choose_high_side_phase,
                 "1. Ratio Phase H1-H2\n"
                 "2. Ratio Phase H2-H3\n"
                 "3. Ratio Phase H3-H1\n"
                 "4. Ratio Phase H1-H0\n"
                 "5. Ratio Phase H2-H0\n"
                 "6. Ratio Phase H3-H0\n");
}

TEST_F(ChoosePhase, OfTheLowSide) {
  expect_choices(choose_low_side_phase,
                 "1. Ratio Phase X1-X2\n"
                 "2. Ratio Phase X2-X3\n"
                 "3. Ratio Phase X3-X1\n"
                 "4. Ratio Phase X1-X0\n"
                 "5. Ratio Phase X2-X0\n"
                 "6. Ratio Phase X3-X0\n");
}

// They are stored before the read, so also when the prompt waits at the end of input.
TEST_F(ChoosePhase, StoresItsDefaultsFirst) {
  for (const Chooser choose : {choose_high_side_phase, choose_low_side_phase}) {
    clock.sleeps.clear();
    end_waiting(clock, 1);
    std::int32_t phase = 77;
    std::int32_t extra = 88;
    const Console console("");
    EXPECT_THROW(choose(phase, extra), WaitedForEver);
    EXPECT_EQ(phase, 1);
    EXPECT_EQ(extra, 0);
  }
}

class ChooseWindingConnection : public SessionTest {};

TEST_F(ChooseWindingConnection, AcceptsTwoToFiveAndReturnsOneOtherwise) {
  const PhaseAnswer kAnswers[] = {{"1\n", 1}, {"2\n", 2}, {"3\n", 3},  {"4\n", 4}, {"5\n", 5},
                                  {"6\n", 1}, {"9\n", 1}, {"-2\n", 1}, {"0\n", 1}};
  for (const auto& [answer, expected] : kAnswers) {
    const Console console(answer);
    EXPECT_EQ(choose_winding_connection(), expected) << answer;
    EXPECT_EQ(console.output(), "1. D\n2. Y\n3. Yn\n4. Z\n5. Zn\n");
  }
}

class PromptNameplateRatio : public SessionTest {
 protected:
  static double answer(const std::string& line) {
    const Console console(line + "\n");
    const double ratio = prompt_nameplate_ratio();
    EXPECT_EQ(console.output(), "Nameplate ratio N:1 (leave empty for none): ") << line;
    return ratio;
  }
};

TEST_F(PromptNameplateRatio, IsZeroWhenNoneIsGiven) { EXPECT_EQ(answer(""), 0.0); }

TEST_F(PromptNameplateRatio, TakesALeadingNumber) {
  EXPECT_EQ(answer("12.5abc"), 12.5);
  EXPECT_EQ(answer("  7"), 7.0);
  EXPECT_EQ(answer("1e3:1"), 1000.0);
  EXPECT_EQ(answer("0x10"), 16.0);
  EXPECT_EQ(answer("0"), 0.0);
  EXPECT_EQ(answer("-3"), -3.0);
  EXPECT_EQ(answer("0.1"), 0.1);
  EXPECT_TRUE(std::isinf(answer("inf")));
  EXPECT_TRUE(std::isnan(answer("nan")));
}

TEST_F(PromptNameplateRatio, AsksAgainForWhatIsNoNumber) {
  const Console console("abc\n1e999\n,5\n8\n");
  EXPECT_EQ(prompt_nameplate_ratio(), 8.0);
  const std::string ask = "Nameplate ratio N:1 (leave empty for none): ";
  EXPECT_EQ(console.output(), ask + ask + ask + ask);
  EXPECT_EQ(console.visible_output(), console.output());
  EXPECT_THAT(clock.sleeps, IsEmpty());
}

TEST_F(PromptNameplateRatio, PausesWhereItAsksForEver) {
  end_waiting(clock, 3);
  const Console console("abc");
  EXPECT_THROW(prompt_nameplate_ratio(), WaitedForEver);
  EXPECT_THAT(clock.sleeps_ms(), Each(100));
}

class DateTimeText : public SessionTest {};

TEST_F(DateTimeText, IsTheLocalTimeInAFileName) {
  EXPECT_EQ(date_time_text(), "20210315_12_00_00");
  clock.now += 13 * 3600 + 7 * 60 + 9;
  EXPECT_EQ(date_time_text(), "20210316_01_07_09");
}

}  // namespace

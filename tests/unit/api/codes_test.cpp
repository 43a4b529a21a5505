#include "api/codes.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>
#include <string>

#include "named_codes.h"
#include "support/counted_new.h"

namespace {

kvr_code code(std::int32_t number) { return static_cast<kvr_code>(number); }

const char* name_of(std::int32_t number) {
  for (const NamedCode& named : kNamedCodes) {
    if (named.number == number) {
      return named.name;
    }
  }
  return nullptr;
}

TEST(Codes, AreThirtyTwoBitsWideAndSigned) {
  static_assert(sizeof(kvr_code) == 4);
  static_assert(std::is_same_v<std::underlying_type_t<kvr_code>, std::int32_t>);
}

TEST(Codes, EveryEnumeratorHasTheNumberOfItsName) {
  const std::map<std::string, std::int32_t> enumerators = {
#define NAME_AND_NUMBER(number, name) {#name, name},
      KVR_CODE_LIST(NAME_AND_NUMBER)
#undef NAME_AND_NUMBER
  };
  std::map<std::string, std::int32_t> expected;
  for (const NamedCode& named : kNamedCodes) {
    expected.emplace(named.name, named.number);
  }
  EXPECT_EQ(enumerators.size(), 189U);
  EXPECT_EQ(enumerators, expected);
}

TEST(Codes, ThreeKindsOfNamesMakeUpAll) {
  std::size_t results = 0;
  std::set<std::int32_t> messages;
  std::set<std::int32_t> neither;
  for (const NamedCode& named : kNamedCodes) {
    const std::string_view text = CodeToText(code(named.number));
    if (text.starts_with("KVR_RES_")) {
      ++results;
    } else if (text.starts_with("KVR_MSG_")) {
      messages.insert(named.number);
    } else {
      neither.insert(named.number);
    }
  }
  EXPECT_EQ(results, 165U);
  EXPECT_EQ(messages, (std::set<std::int32_t>{89, 97, 98, 100, 101, 102, 103, 104, 1000, 1001, 1002,
                                              1003, 1004, 1005, 1006, 1007, 1008}));
  EXPECT_EQ(neither, (std::set<std::int32_t>{55, 56, 57, 85, 86, 115, 116}));
}

TEST(CodeToText, GivesTheNameOfEveryNamedCodeAndTheNumberOfAnyOther) {
  for (std::int32_t number = -20; number <= 1100; ++number) {
    const char* const name = name_of(number);
    const std::string expected =
        name != nullptr ? name : "Unknown error code " + std::to_string(number);
    EXPECT_EQ(CodeToText(code(number)), expected);
  }
}

TEST(CodeToText, NamesTheFirstAndLastCodeOfBothRuns) {
  EXPECT_EQ(CodeToText(code(0)), "KVR_RES_OK");
  EXPECT_EQ(CodeToText(code(179)), "KVR_RES_GAIN_CALIBRATION_ERROR");
  EXPECT_EQ(CodeToText(code(180)), "Unknown error code 180");
  EXPECT_EQ(CodeToText(code(999)), "Unknown error code 999");
  EXPECT_EQ(CodeToText(code(1000)), "KVR_MSG_BROADCAST_INPUT_EVENTS_BEGIN");
  EXPECT_EQ(CodeToText(code(1008)), "KVR_MSG_TOUCHSCREEN_TEST_FINISHED");
  EXPECT_EQ(CodeToText(code(1009)), "Unknown error code 1009");
}

TEST(CodeToText, KeepsTheSpellingOfCode126) {
  EXPECT_EQ(CodeToText(code(126)), "KVR_RES_HADRWARE_ACTIVE_DISCHARGER_ERROR");
}

TEST(CodeToText, WritesUnnamedNumbersWithTheirSignAndNothingElse) {
  EXPECT_EQ(CodeToText(code(-1)), "Unknown error code -1");
  EXPECT_EQ(CodeToText(code(1000000)), "Unknown error code 1000000");
  EXPECT_EQ(CodeToText(code(std::numeric_limits<std::int32_t>::max())),
            "Unknown error code 2147483647");
  EXPECT_EQ(CodeToText(code(std::numeric_limits<std::int32_t>::min())),
            "Unknown error code -2147483648");
}

TEST(CodeToText, SharesOneSlotAmongUnnamedCodes) {
  const std::string_view first = CodeToText(code(200));
  ASSERT_EQ(first, "Unknown error code 200");
  const std::string_view second = CodeToText(code(201));
  EXPECT_EQ(first, "Unknown error code 201");
  EXPECT_EQ(first.data(), second.data());
}

TEST(CodeToText, LeavesTheSlotAloneForNamedCodes) {
  const std::string_view unnamed = CodeToText(code(-7));
  const std::string_view named = CodeToText(KVR_RES_OPEN_LEAD);
  EXPECT_EQ(unnamed, "Unknown error code -7");
  CodeToText(code(-8));
  EXPECT_EQ(named, "KVR_RES_OPEN_LEAD");
  EXPECT_EQ(named.data(), CodeToText(KVR_RES_OPEN_LEAD).data());
}

TEST(CodeToText, AllocatesNothingForNamedCodes) {
  const std::size_t before = counted_new::allocations();
  for (const NamedCode& named : kNamedCodes) {
    CodeToText(code(named.number));
  }
  EXPECT_EQ(counted_new::allocations(), before);
}

TEST(IsStopCode, KnowsCancelEmergencyStopAndInterlock) {
  std::set<std::int32_t> stop_codes;
  for (std::int32_t number = -200; number <= 1200; ++number) {
    if (IsStopCode(code(number))) {
      stop_codes.insert(number);
    }
  }
  EXPECT_EQ(stop_codes, (std::set<std::int32_t>{7, 70, 167}));
}

}  // namespace

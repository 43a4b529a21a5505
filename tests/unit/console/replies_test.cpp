#include "console/replies.h"

#include <gmock/gmock.h>

#include <iostream>
#include <set>

#include "support/session_test.h"

namespace {

kvr_code code(std::int32_t number) { return static_cast<kvr_code>(number); }

class Accepted : public SessionTest {};

TEST_F(Accepted, AcceptsThreeCodesSilentlyAndReportsAnyOther) {
  std::set<std::int32_t> accepted;
  for (std::int32_t number = -3; number <= 1010; ++number) {
    const Console console;
    const bool is_taken = is_accepted(code(number));
    if (is_taken) {
      accepted.insert(number);
    }
    const std::string expected =
        is_taken ? "" : "\nERROR: wording of code " + std::to_string(number) + "\n";
    EXPECT_EQ(console.output(), expected) << number;
  }
  EXPECT_EQ(accepted, (std::set<std::int32_t>{0, 44, 76}));
}

TEST_F(Accepted, LooksUpWordsOnlyForAReport) {
  const Console console;
  is_accepted(KVR_RES_OK);
  is_accepted(KVR_RES_CHECK_ERROR_STATUS);
  is_accepted(KVR_RES_PARTIAL_RESULT_CHECK_STATUS);
  EXPECT_EQ(call_lines(), "");
  is_accepted(KVR_RES_OPEN_LEAD);
  EXPECT_EQ(call_lines(), "kvr_CodeToString 30\n");
}

TEST_F(Accepted, ReportIsNeverASuccess) {
  const Console console;
  EXPECT_FALSE(report_error(KVR_RES_OK));
  EXPECT_FALSE(report_error(KVR_RES_DISK_FULL));
  EXPECT_EQ(console.output(), "\nERROR: wording of code 0\n\nERROR: wording of code 64\n");
}

TEST_F(Accepted, ReportWithoutWordsSilencesStandardOutput) {
  api.answer(ApiCall::CodeToString, {.null = true});
  const Console console;
  EXPECT_FALSE(report_error(KVR_RES_DISK_FULL));
  EXPECT_TRUE(std::cout.fail());
  std::cout << "lost";
  EXPECT_EQ(console.output(), "\nERROR: ");
}

}  // namespace

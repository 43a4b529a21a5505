#include "plan/verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "plan/json_lines.h"
#include "support/record_text.h"

namespace {

using testing::Contains;
using testing::Not;

const std::string kThreePhases =
    "test_type = 1\n"
    "data_count = 1\n"
    "data_ratio_3ph[0].tested_phase = 100\n"
    "data_ratio_3ph[0].ratio_3ph = 10\n"
    "data_ratio_3ph[0].phases[0].phase_name = A\n"
    "data_ratio_3ph[0].phases[0].tnr = 10\n"
    "data_ratio_3ph[0].phases[1].tnr = 11\n"
    "data_ratio_3ph[0].phases[2].tnr = 12\n";

struct Case {
  std::string more;
  std::vector<Limit> limits;
  kvr_code code;
  Verdict verdict;
};

Judgement judged(const Case& judged_case) {
  const OwnedRecord record = parse_record(kThreePhases + judged_case.more, "record");
  PlannedTest test;
  test.three_phase = true;
  test.limits = judged_case.limits;
  return judge(judged_case.code, record.get(), test);
}

TEST(Verdict, ComesFromLimitsCodeAndPhases) {
  const std::vector<Limit> holds{{"tnr", 10, 12}};
  const std::vector<Limit> holds_not{{"tnr", 10, 11.5}};
  const std::string failed = "data_ratio_3ph[0].phases[1].status = 30\n";
  const std::string untested = "data_ratio_3ph[0].phases[2].status = 156\n";
  const Case cases[] = {
      {"", {}, KVR_RES_OK, Verdict::no_limits},
      {"", holds, KVR_RES_OK, Verdict::within},
      {"", holds_not, KVR_RES_OK, Verdict::outside},
      {untested, holds_not, KVR_RES_OK, Verdict::within},
      {"data_ratio_3ph[0].tested_phase = 0\n", {{"tnr", 10, 10}}, KVR_RES_OK, Verdict::within},
      {failed, holds, KVR_RES_OK, Verdict::partial},
      {failed, holds_not, KVR_RES_OK, Verdict::outside},
      {"", holds, KVR_RES_CHECK_ERROR_STATUS, Verdict::partial},
      {"", holds, KVR_RES_PARTIAL_RESULT_CHECK_STATUS, Verdict::partial},
      {"data_count = 0\n", holds, KVR_RES_OK, Verdict::partial},
      {"", {{"ratio_3ph", 10, 10}}, KVR_RES_OK, Verdict::within},
      {"data_ratio_3ph[0].ratio_3ph = nan\n",
       {{"ratio_3ph", -1e300, 1e300}},
       KVR_RES_OK,
       Verdict::outside},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(judged(each).verdict, each.verdict) << each.more;
  }
}

TEST(Verdict, NamesThePhaseOfEachCheck) {
  const Judgement judgement = judged({"", {{"tnr", 0, 10.5}}, KVR_RES_OK, Verdict::outside});
  ASSERT_EQ(judgement.checks.size(), 3U);
  EXPECT_EQ(judgement.checks[0].phase, "A");
  EXPECT_TRUE(judgement.checks[0].holds());
  EXPECT_FALSE(judgement.checks[1].holds());
}

TEST(Verdict, OfATestWithoutARecord) {
  EXPECT_EQ(judge(KVR_RES_OPEN_LEAD, nullptr, {}).verdict, Verdict::refused);
  EXPECT_EQ(judge(KVR_RES_OPERATION_CANCELLED, nullptr, {}).verdict, Verdict::cancelled);
}

TEST(Verdict, HasAnExitStatus) {
  std::vector<int> statuses;
  for (int verdict = 0; verdict <= static_cast<int>(Verdict::cancelled); ++verdict) {
    statuses.push_back(exit_status_of(static_cast<Verdict>(verdict)));
  }
  EXPECT_THAT(statuses, testing::ElementsAre(0, 10, 10, 20, 30, 40));
}

TEST(Verdict, LimitsMayNameNumbersOfTheResultAndOfAPhase) {
  EXPECT_THAT(quantities(false), Contains("tnr_error"));
  EXPECT_THAT(quantities(false), Not(Contains("ratio_3ph")));
  EXPECT_THAT(quantities(true), Contains("ratio_3ph"));
  EXPECT_THAT(quantities(true), Not(Contains("phase_name")));
}

// The record as JSON.

TEST(RecordJson, WritesWhatJsonCannotExpressAsText) {
  const OwnedRecord record = parse_record(
      "record_id = T\\xff\\x22\ntest_type = 1\ndata_count = 1\n"
      "data_ratio_1ph[0].phase.tnr = nan\ndata_ratio_1ph[0].phase.tvr = inf\n"
      "data_ratio_1ph[0].phase.voltage_h = -inf\ndata_ratio_1ph[0].phase.voltage_x = 0.1\n"
      "data_ratio_1ph[0].phase.status = 31\ndata_ratio_1ph[0].phase.tnr_error = 0.1\n",
      "record");
  const std::string json = record_json(*record.get());
  for (const char* const part :
       {R"("record_id":"T�\"")", R"("tnr":"NaN")", R"("tvr":"Infinity")",
        R"("voltage_h":"-Infinity")", R"("voltage_x":0.1,)", R"("tnr_error":0.1,)",
        R"("status":{"number":31,"name":"KVR_RES_SHORTED_LEAD"})", R"("ratio_3ph":[]})"}) {
    EXPECT_THAT(json, testing::HasSubstr(part));
  }
  EXPECT_EQ(json.find('\n'), std::string::npos);
}

TEST(RecordJson, KeepsNestedSteps) {
  const OwnedRecord record =
      parse_record(kThreePhases + "data_ratio_3ph[0].step_up.test_voltage = 5\n", "record");
  const std::string json = record_json(*record.get());
  EXPECT_THAT(json, testing::HasSubstr(R"("step_up":{"setup":)"));
  EXPECT_THAT(json, testing::HasSubstr(R"("step_down":null)"));
}

}  // namespace

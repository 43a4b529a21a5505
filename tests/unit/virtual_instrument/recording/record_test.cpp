#include "virtual_instrument/recording/record.h"

#include <gtest/gtest.h>

#include "unit/virtual_instrument/requests.h"

namespace virtual_instrument {
namespace {

RecordHead head() {
  return {"asset",   "group", "T1", KVR_SAVE_NEW_RECORD, KVR_TEST_RATIO_AUTO, setup_with_ratio(10),
          1709636400};
}

RecordedTest single_phase_test() {
  kvr_TestData_Ratio_1ph data{};
  data.phase.tnr = 0.5;
  return {data, "raw\n"};
}

TEST(MakeRecord, HoldsTheHeadAndTheTest) {
  const RecordNest record = make_record(head(), single_phase_test(), true);
  EXPECT_STREQ(record->asset_id, "asset");
  EXPECT_STREQ(record->group_id, "group");
  EXPECT_STREQ(record->record_id, "T1");
  EXPECT_EQ(record->save_mode, KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(record->test_count, 1U);
  EXPECT_EQ(record->test_type, KVR_TEST_RATIO_AUTO);
  EXPECT_EQ(record->setup.windings[0].voltage, 10);
  EXPECT_STREQ(record->timestamp, "2024-03-05 12:00:00");
  ASSERT_EQ(record->data_count, 1U);
  EXPECT_EQ(record->data_ratio_1ph[0]->phase.tnr, 0.5);
  EXPECT_EQ(record->data_ratio_3ph, nullptr);
  EXPECT_EQ(record->data_mbalance, nullptr);
  EXPECT_EQ(record->data_resistance, nullptr);
  EXPECT_EQ(record->data_demag, nullptr);
  EXPECT_EQ(record->data_efficiency, nullptr);
  EXPECT_EQ(record->data_impedance, nullptr);
  EXPECT_EQ(record->data_drm, nullptr);
  EXPECT_EQ(record->data_heatrun, nullptr);
  EXPECT_EQ(record->data_gonogo, nullptr);
  EXPECT_STREQ(record->raw_data, "raw\n");
}

TEST(MakeRecord, RawDataIsNullIfItIsNotWanted) {
  EXPECT_EQ(make_record(head(), single_phase_test(), false)->raw_data, nullptr);
}

TEST(MakeRecord, ATestOfThreePhasesHasItsOwnArray) {
  ThreePhaseRatio test{};
  test.data.ratio_3ph = 4;
  const RecordNest record = make_record(head(), {test, ""}, false);
  EXPECT_EQ(record->data_ratio_1ph, nullptr);
  ASSERT_NE(record->data_ratio_3ph, nullptr);
  EXPECT_EQ(record->data_ratio_3ph[0]->ratio_3ph, 4);
  EXPECT_EQ(record->data_ratio_3ph[0]->step_up, nullptr);
  EXPECT_EQ(record->data_ratio_3ph[0]->step_down, nullptr);
}

TEST(MakeRecord, BothDirectionsOfAnAutomaticTestAreNested) {
  ThreePhaseRatio test{};
  test.step_up.emplace().ratio_3ph = 5;
  test.step_down.emplace().ratio_3ph = 6;
  const RecordNest record = make_record(head(), {test, ""}, false);
  ASSERT_NE(record->data_ratio_3ph[0]->step_up, nullptr);
  ASSERT_NE(record->data_ratio_3ph[0]->step_down, nullptr);
  EXPECT_EQ(record->data_ratio_3ph[0]->step_up->ratio_3ph, 5);
  EXPECT_EQ(record->data_ratio_3ph[0]->step_down->ratio_3ph, 6);
}

}  // namespace
}  // namespace virtual_instrument

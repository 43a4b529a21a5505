#include <gtest/gtest.h>

#include <cstring>

#include "tape/vocabulary/call_fields.h"
#include "tape/vocabulary/differences.h"

// What is touched of a record. Addresses that must not be followed lead nowhere, so that following
// one ends the test.

namespace {

using namespace tape;

template <class Pointer>
Pointer nowhere() {
  return reinterpret_cast<Pointer>(std::uintptr_t{64});
}

void set_traps(kvr_TestRecord& record) {
  record.data_ratio_3ph = nowhere<kvr_TestData_Ratio_3ph**>();
  record.data_ratio_1ph = nowhere<kvr_TestData_Ratio_1ph**>();
  record.data_mbalance = nowhere<kvr_TestData_MagneticBalance**>();
  record.data_resistance = nowhere<kvr_TestData_Resistance**>();
  record.data_demag = nowhere<kvr_TestData_Demag**>();
  record.data_efficiency = nowhere<kvr_TestData_Efficiency**>();
  record.data_impedance = nowhere<kvr_TestData_Impedance**>();
  record.data_drm = nowhere<kvr_TestData_Drm**>();
  record.data_heatrun = nowhere<kvr_TestData_Resistance**>();
  record.data_gonogo = nowhere<kvr_TestData_GoNoGo**>();
}

constexpr std::uint32_t kAllButRatio = 0b11'1111'1100;

TEST(RecordContent, FollowsOnlyTheArraysThatTheTestTypeNames) {
  kvr_TestRecord record{};
  set_traps(record);
  kvr_TestData_Ratio_1ph result{};
  kvr_TestData_Ratio_1ph* results[] = {&result};
  record.test_type = KVR_TEST_RATIO_DOWN;
  record.data_count = 1;
  record.data_ratio_3ph = nullptr;
  record.data_ratio_1ph = results;
  const Value value = record_content(5, record, false);
  EXPECT_EQ(value.number, 5);
  EXPECT_EQ(value.content, Value::Content::kForm);
  EXPECT_EQ(value.others, kAllButRatio);
  EXPECT_EQ(parts_of(value).size(), 2U);
}

TEST(RecordContent, FollowsNothingOfATypeWithoutResults) {
  kvr_TestRecord record{};
  set_traps(record);
  record.data_count = 7;
  for (const std::uint32_t type : {0U, 3U, 7U, 19U, 0xFFFFFFFFU}) {
    record.test_type = static_cast<kvr_TestType>(type);
    EXPECT_EQ(record_content(1, record, true).others, 0b11'1111'1111U) << type;
  }
}

TEST(RecordContent, KeepsATextThatFillsItsFieldAsBlocks) {
  kvr_TestRecord record{};
  std::memset(record.record_id, 'x', sizeof record.record_id);
  const Value value = record_content(1, record, false);
  EXPECT_EQ(value.content, Value::Content::kBlocks);
  const std::vector<RecordPart> parts = parts_of(value);
  ASSERT_EQ(parts.size(), 1U);
  EXPECT_EQ(std::memcmp(parts[0].bytes.data(), &record, sizeof record), 0);
}

TEST(RecordContent, EndsWhereStepsLeadBackToThemselves) {
  kvr_TestData_Ratio_3ph result{};
  result.step_up = &result;
  kvr_TestData_Ratio_3ph* results[] = {&result};
  kvr_TestRecord record{};
  record.test_type = KVR_TEST_RATIO_AUTO;
  record.data_count = 1;
  record.data_ratio_3ph = results;
  const Value value = record_content(1, record, false);
  EXPECT_EQ(value.content, Value::Content::kHead);
  EXPECT_EQ(value.bytes.size(), sizeof record);
}

TEST(RecordContent, OfAStoredRecordHasAllThatAnExportWalks) {
  kvr_TestData_Ratio_1ph result{};
  kvr_TestData_Ratio_1ph* results[] = {&result, &result, nullptr, &result};
  kvr_TestRecord record{};
  record.test_type = KVR_TEST_RATIO_AUTO;
  record.test_count = 4;
  record.data_count = 1;
  record.data_ratio_1ph = results;
  EXPECT_EQ(parts_of(record_content(1, record, true)).size(), 4U);
  EXPECT_EQ(record_content(1, record, true).data_count, 1U);
  EXPECT_EQ(parts_of(record_content(1, record, false)).size(), 2U);
}

TEST(CallFields, EveryPointerMayBeNull) {
  EXPECT_EQ(initialize_fields(nullptr)[0].value, Value());
  EXPECT_EQ(test_station_fields(nullptr, nullptr)[0].value, Value());
  EXPECT_EQ(key_fields(nullptr)[0].value, Value());
  EXPECT_EQ(key_fields("")[0].value, Value::text(""));
  EXPECT_EQ(connect_fields(nullptr, 5, nullptr, nullptr)[3].value, Value::of(0));
  EXPECT_EQ(
      test_fields(nullptr, static_cast<kvr_Ratio1phRequest*>(nullptr), nullptr, nullptr).size(),
      4U);
  EXPECT_EQ(exists_fields(nullptr, nullptr)[1].value, Value::of(0));
  EXPECT_EQ(progress_callback_fields(nullptr)[0].value, Value());
}

TEST(CallFields, HoldNoAddress) {
  kvr_InitParams params{};
  params.status_callback = nowhere<kvr_StatusCallback>();
  params.status_context = nowhere<void*>();
  const Value value = initialize_fields(&params)[0].value;
  EXPECT_EQ(value.bytes[16], 1);
  EXPECT_EQ(value.bytes[24], 1);
}

}  // namespace

#include "virtual_instrument/records/record.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "api/client_api.h"
#include "unit/virtual_instrument/requests.h"

namespace virtual_instrument {
namespace {

Record record_of(std::size_t tests) {
  Record record{{"asset", "group", "T1", KVR_SAVE_NEW_RECORD, KVR_TEST_RATIO_AUTO,
                 setup_with_ratio(10), 1709636400, 7},
                {}};
  for (std::size_t i = 0; i < tests; ++i) {
    kvr_TestData_Ratio_1ph data{};
    data.phase.tnr = static_cast<double>(i) + 0.5;
    record.tests.push_back({data, "raw " + std::to_string(i) + "\n"});
  }
  return record;
}

TEST(WireRecord, HoldsTheHeadAndTheTests) {
  kvr_TestRecord* record = make_wire_record(record_of(2), true);
  EXPECT_STREQ(record->asset_id, "asset");
  EXPECT_STREQ(record->group_id, "group");
  EXPECT_STREQ(record->record_id, "T1");
  EXPECT_EQ(record->save_mode, KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(record->test_count, 7U);
  EXPECT_EQ(record->test_type, KVR_TEST_RATIO_AUTO);
  EXPECT_EQ(record->setup.windings[0].voltage, 10);
  EXPECT_STREQ(record->timestamp, "2024-03-05 12:00:00");
  ASSERT_EQ(record->data_count, 2U);
  EXPECT_EQ(record->data_ratio_1ph[0]->phase.tnr, 0.5);
  EXPECT_EQ(record->data_ratio_1ph[1]->phase.tnr, 1.5);
  EXPECT_EQ(record->data_ratio_3ph, nullptr);
  EXPECT_EQ(record->data_mbalance, nullptr);
  EXPECT_EQ(record->data_resistance, nullptr);
  EXPECT_EQ(record->data_demag, nullptr);
  EXPECT_EQ(record->data_efficiency, nullptr);
  EXPECT_EQ(record->data_impedance, nullptr);
  EXPECT_EQ(record->data_drm, nullptr);
  EXPECT_EQ(record->data_heatrun, nullptr);
  EXPECT_EQ(record->data_gonogo, nullptr);
  EXPECT_STREQ(record->raw_data, "raw 0\nraw 1\n");
  free_wire_record(record);
}

TEST(WireRecord, RawDataIsNullIfItIsNotWanted) {
  kvr_TestRecord* record = make_wire_record(record_of(1), false);
  EXPECT_EQ(record->raw_data, nullptr);
  free_wire_record(record);
}

TEST(WireRecord, TestsOfThreePhasesHaveTheirOwnArray) {
  Record record = record_of(0);
  kvr_TestData_Ratio_3ph data{};
  data.ratio_3ph = 4;
  record.tests.push_back({data, ""});
  kvr_TestRecord* wire = make_wire_record(record, false);
  EXPECT_EQ(wire->data_ratio_1ph, nullptr);
  EXPECT_EQ(wire->data_ratio_3ph[0]->ratio_3ph, 4);
  free_wire_record(wire);
}

TEST(WireRecord, ARecordWithoutTestsHasNoArrays) {
  kvr_TestRecord* wire = make_wire_record(record_of(0), false);
  EXPECT_EQ(wire->data_count, 0U);
  EXPECT_EQ(wire->data_ratio_1ph, nullptr);
  EXPECT_EQ(wire->data_ratio_3ph, nullptr);
  free_wire_record(wire);
}

TEST(WireRecord, FreeingNullIsFine) {
  free_wire_record(nullptr);
  free_wire_list(nullptr);
}

TEST(WireList, HoldsTheHeads) {
  Record other = record_of(0);
  other.head.record_id = std::string(29, 'x');
  kvr_TestLabelsList* list = make_wire_list({record_of(0).head, other.head});
  ASSERT_EQ(list->count, 2U);
  EXPECT_STREQ(list->entries[0].record_id, "T1");
  EXPECT_EQ(list->entries[0].test_count, 7U);
  EXPECT_EQ(list->entries[0].setup.windings[0].voltage, 10);
  EXPECT_STREQ(list->entries[0].timestamp, "2024-03-05 12:00:00");
  EXPECT_STREQ(list->entries[1].record_id, std::string(29, 'x').c_str());
  free_wire_list(list);
}

// The export gives a list back like this, and a sanitizer would tell if it may not.
TEST(WireList, CanBeDeletedByItsParts) {
  for (const std::size_t count : {0U, 3U}) {
    kvr_TestLabelsList* list = make_wire_list(std::vector<RecordHead>(count, record_of(0).head));
    EXPECT_EQ(list->count, count);
    EXPECT_NE(list->entries, nullptr);
    delete[] list->entries;
    delete list;
  }
}

RecordHead head(const std::string& id, std::int64_t time, kvr_WindingType high, int clock) {
  RecordHead head = record_of(0).head;
  head.record_id = id;
  head.time = time;
  head.setup.windings[0].winding_type = high;
  head.setup.connections[0].clock = clock;
  return head;
}

std::string order(std::int32_t sort_key, bool ascending) {
  std::vector<RecordHead> heads{head("b", 30, KVR_WINDING_Y, 0),  head("B", 20, KVR_WINDING_D, 11),
                                head("a", 30, KVR_WINDING_D, 5),  head("c", 10, KVR_WINDING_YN, 0),
                                head("10", 40, KVR_WINDING_D, 5), head("9", 50, KVR_WINDING_Y, 0)};
  EXPECT_TRUE(sort_heads(heads, sort_key, ascending));
  std::string ids;
  for (const RecordHead& entry : heads) {
    ids += entry.record_id + " ";
  }
  return ids;
}

TEST(SortHeads, ByDateAndTime) {
  EXPECT_EQ(order(kSortByDateTime, true), "c B a b 10 9 ");
  EXPECT_EQ(order(kSortByDateTime, false), "9 10 b a B c ");
}

TEST(SortHeads, ByTestIdInTheOrderOfBytes) {
  EXPECT_EQ(order(kSortByTestId, true), "10 9 B a b c ");
  EXPECT_EQ(order(kSortByTestId, false), "c b a B 9 10 ");
}

TEST(SortHeads, ByVectorGroup) {
  EXPECT_EQ(order(kSortByVectorGroup, true), "10 a B 9 b c ");
  EXPECT_EQ(order(kSortByVectorGroup, false), "c b 9 B a 10 ");
}

TEST(SortHeads, RefusesOtherKeys) {
  std::vector<RecordHead> heads;
  EXPECT_FALSE(sort_heads(heads, 3, true));
  EXPECT_FALSE(sort_heads(heads, -1, true));
}

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/store/record_order.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace virtual_instrument {
namespace {

StoredLabel stored(const char* id, std::int64_t time, kvr_WindingType high, int clock) {
  StoredLabel result{};
  std::strcpy(result.label.record_id, id);
  result.label.setup.windings[0].winding_type = high;
  result.label.setup.windings[1].winding_type = KVR_WINDING_Y;
  result.label.setup.connections[0].clock = clock;
  result.time = time;
  return result;
}

/// In the order of their beginning. B and a have the same time, B and b the same vector group.
std::vector<StoredLabel> samples() {
  return {stored("B", 20, KVR_WINDING_D, 5), stored("a", 20, KVR_WINDING_YN, 0),
          stored("C", -5, KVR_WINDING_D, 11), stored("b", 30, KVR_WINDING_D, 5)};
}

std::string ids_by(SortKey key, bool ascending) {
  const Labels list = ordered_list(samples(), key, ascending);
  std::string ids;
  for (std::uint32_t i = 0; i < list->count; ++i) {
    ids += list->entries[i].record_id;
  }
  return ids;
}

TEST(RecordOrder, GoesByDateAndTime) {
  EXPECT_EQ(ids_by(SortKey::kDateTime, true), "CBab");
  EXPECT_EQ(ids_by(SortKey::kDateTime, false), "bBaC");
}

TEST(RecordOrder, GoesByTestIdByteByByte) {
  EXPECT_EQ(ids_by(SortKey::kTestId, true), "BCab");
  EXPECT_EQ(ids_by(SortKey::kTestId, false), "baCB");
}

TEST(RecordOrder, GoesByTheNameOfTheVectorGroup) {
  // As texts: Dy11 comes before Dy5.
  EXPECT_EQ(ids_by(SortKey::kVectorGroup, true), "CBba");
  EXPECT_EQ(ids_by(SortKey::kVectorGroup, false), "aBbC");
}

TEST(RecordOrder, BytesAbove127ComeLast) {
  const std::vector<StoredLabel> labels = {stored("\xC3\xA4", 0, KVR_WINDING_D, 0),
                                           stored("z", 0, KVR_WINDING_D, 0)};
  const Labels list = ordered_list(labels, SortKey::kTestId, true);
  EXPECT_STREQ(list->entries[0].record_id, "z");
}

// The export frees a list like this; sanitizers report it if that is wrong.
TEST(RecordOrder, AListCanBeDeletedByItsParts) {
  for (const std::size_t count : {0U, 3U}) {
    kvr_TestLabelsList* list =
        ordered_list(std::vector<StoredLabel>(count), SortKey::kTestId, true).release();
    EXPECT_EQ(list->count, count);
    EXPECT_NE(list->entries, nullptr);
    delete[] list->entries;
    delete list;
  }
}

TEST(RecordOrder, ANullListCanBeFreed) { FreeLabels()(nullptr); }

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/store/record_store.h"

#include <gtest/gtest.h>

#include "unit/virtual_instrument/requests.h"

namespace virtual_instrument {
namespace {

/// What holds for every store.
class RecordStoreTest : public testing::Test {
 protected:
  static RecordedTest test_with(double tnr) {
    kvr_TestData_Ratio_1ph data{};
    data.phase.tnr = tnr;
    return {data, "raw"};
  }

  static Record record(const std::string& id) {
    return {{"", "", id, KVR_SAVE_NEW_RECORD, KVR_TEST_RATIO_DOWN, setup_with_ratio(10), 1000, 1},
            {test_with(1)}};
  }

  std::unique_ptr<RecordStore> store_ = make_memory_store();
};

TEST_F(RecordStoreTest, BeginsEmpty) {
  EXPECT_FALSE(store_->exists("T1"));
  EXPECT_FALSE(store_->read("T1"));
  EXPECT_TRUE(store_->heads().empty());
  EXPECT_EQ(store_->remove("T1"), KVR_RES_RECORD_NOT_FOUND);
  EXPECT_EQ(store_->clear(), KVR_RES_OK);
}

TEST_F(RecordStoreTest, GivesBackWhatWasAdded) {
  EXPECT_EQ(store_->add(record("T1")), KVR_RES_OK);
  EXPECT_TRUE(store_->exists("T1"));
  EXPECT_FALSE(store_->exists("t1"));
  const std::optional<Record> read = store_->read("T1");
  ASSERT_TRUE(read);
  EXPECT_EQ(read->head.record_id, "T1");
  EXPECT_EQ(read->head.time, 1000);
  EXPECT_EQ(read->head.test_count, 1U);
  ASSERT_EQ(read->tests.size(), 1U);
  EXPECT_EQ(std::get<kvr_TestData_Ratio_1ph>(read->tests[0].data).phase.tnr, 1);
  EXPECT_EQ(read->tests[0].raw_data, "raw");
}

TEST_F(RecordStoreTest, KeepsTheFirstRecordOfAnId) {
  EXPECT_EQ(store_->add(record("T1")), KVR_RES_OK);
  Record second = record("T1");
  second.head.time = 2000;
  EXPECT_EQ(store_->add(second), KVR_RES_TESTID_EXISTS);
  EXPECT_EQ(store_->read("T1")->head.time, 1000);
}

TEST_F(RecordStoreTest, AppendsTests) {
  RecordHead head{};
  EXPECT_EQ(store_->append("T1", KVR_TEST_RATIO_DOWN, test_with(2), head),
            KVR_RES_RECORD_NOT_FOUND);
  store_->add(record("T1"));
  EXPECT_EQ(store_->append("T1", KVR_TEST_RATIO_DOWN, test_with(2), head), KVR_RES_OK);
  EXPECT_EQ(head.test_count, 2U);
  EXPECT_EQ(head.time, 1000);
  const std::optional<Record> read = store_->read("T1");
  EXPECT_EQ(read->head.test_count, 2U);
  EXPECT_EQ(std::get<kvr_TestData_Ratio_1ph>(read->tests[1].data).phase.tnr, 2);
}

TEST_F(RecordStoreTest, AppendsNoTestOfAnotherKind) {
  store_->add(record("T1"));
  RecordHead head{};
  EXPECT_EQ(store_->append("T1", KVR_TEST_RATIO_UP, test_with(2), head),
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(store_->append("T1", KVR_TEST_RATIO_DOWN, {kvr_TestData_Ratio_3ph{}, ""}, head),
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(store_->read("T1")->tests.size(), 1U);
}

TEST_F(RecordStoreTest, RemovesAndClears) {
  for (const char* id : {"T1", "T2", "T3"}) {
    store_->add(record(id));
  }
  EXPECT_EQ(store_->heads().size(), 3U);
  EXPECT_EQ(store_->remove("T2"), KVR_RES_OK);
  EXPECT_FALSE(store_->exists("T2"));
  EXPECT_EQ(store_->heads().size(), 2U);
  EXPECT_EQ(store_->clear(), KVR_RES_OK);
  EXPECT_TRUE(store_->heads().empty());
}

}  // namespace
}  // namespace virtual_instrument

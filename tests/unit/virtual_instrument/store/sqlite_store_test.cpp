#include "virtual_instrument/store/sqlite_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/record_text.h"
#include "support/temporary_folder.h"
#include "unit/record_form/sample_records.h"
#include "unit/virtual_instrument/store/store_files.h"
#include "unit/virtual_instrument/store/watched_disk.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

class SqliteStoreTest : public testing::Test {
 protected:
  kvr_code save(std::string_view id, double ratio = 10, std::int64_t time = 0) {
    return store_.save_new(*ratio_record(id, ratio).get(), time);
  }

  kvr_code add(std::string_view id, double ratio) {
    return add_to(store_, *ratio_record(id, ratio).get());
  }

  std::string listed(SortKey key, bool ascending) {
    Labels labels;
    EXPECT_EQ(store_.list(key, ascending, labels), KVR_RES_OK);
    std::string ids;
    for (std::uint32_t i = 0; i < labels->count; ++i) {
      ids += std::string(labels->entries[i].record_id) + " ";
    }
    return ids;
  }

  WatchedDisk disk_;
  TemporaryFolder folder_;
  fs::path file_ = folder_.path() / "records.db";
  SqliteStore store_{{.path = file_}};
};

TEST_F(SqliteStoreTest, BeginsEmpty) {
  EXPECT_EQ(store_.state(), KVR_RES_OK);
  EXPECT_EQ(contents_of(store_), "");
  bool exists = true;
  EXPECT_EQ(store_.exists("T1", exists), KVR_RES_OK);
  EXPECT_FALSE(exists);
}

TEST_F(SqliteStoreTest, SavesARecordOnceAndReadsItBackByteByByte) {
  OwnedRecord record = ratio_record("T1", 10.25);
  EXPECT_EQ(store_.save_new(*record.get(), 7), KVR_RES_OK);

  bool exists = false;
  EXPECT_EQ(store_.exists("T1", exists), KVR_RES_OK);
  EXPECT_TRUE(exists);
  RecordNest read;
  ASSERT_EQ(store_.read("T1", read), KVR_RES_OK);
  EXPECT_EQ(form_of(*read), form_of(*record.get()));

  EXPECT_EQ(save("T1", 99), KVR_RES_TESTID_EXISTS);
  EXPECT_EQ(contents_of(store_), "T1#1:10.25 ");
}

TEST_F(SqliteStoreTest, AddsTestsToTheRecordOfThatId) {
  EXPECT_EQ(save("T1", 1), KVR_RES_OK);
  EXPECT_EQ(save("T2", 5), KVR_RES_OK);
  EXPECT_EQ(add("T1", 2), KVR_RES_OK);
  EXPECT_EQ(add("T1", 3), KVR_RES_OK);

  EXPECT_EQ(contents_of(store_), "T1#3:1,2,3 T2#1:5 ");
  RecordNest read;
  ASSERT_EQ(store_.read("T1", read), KVR_RES_OK);
  EXPECT_EQ(read->test_count, 3U);
  EXPECT_EQ(read->data_count, 3U);
  EXPECT_EQ(read->data_ratio_3ph, nullptr);
  EXPECT_STREQ(read->raw_data, "raw\nraw\nraw\n");
}

TEST_F(SqliteStoreTest, AddsNothingWithoutARecordOfThatId) {
  EXPECT_EQ(add("T1", 1), KVR_RES_RECORD_NOT_FOUND);
  EXPECT_EQ(contents_of(store_), "");
}

TEST_F(SqliteStoreTest, AddsNoTestOfAnotherFamilyOrType) {
  EXPECT_EQ(save("T1", 1), KVR_RES_OK);
  OwnedRecord three_phase = parse_record(
      "record_id = T1\ntest_count = 1\ntest_type = 1\ndata_count = 1\n"
      "data_ratio_3ph[0].ratio_3ph = 1\n",
      "three-phase");
  OwnedRecord step_up = ratio_record("T1");
  step_up.get()->test_type = KVR_TEST_RATIO_UP;

  EXPECT_EQ(add_to(store_, *resistance_record("T1").get()), KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(add_to(store_, *three_phase.get()), KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(add_to(store_, *step_up.get()), KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(contents_of(store_), "T1#1:1 ");
}

TEST_F(SqliteStoreTest, SaysBeforehandWhetherATestCanBeAdded) {
  EXPECT_EQ(store_.check_addition("T1", KVR_TEST_RATIO_DOWN, "ratio_1ph"),
            KVR_RES_RECORD_NOT_FOUND);
  EXPECT_EQ(save("T1", 1), KVR_RES_OK);
  EXPECT_EQ(store_.check_addition("T1", KVR_TEST_RATIO_DOWN, "ratio_1ph"), KVR_RES_OK);
  EXPECT_EQ(store_.check_addition("T1", KVR_TEST_RATIO_UP, "ratio_1ph"),
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(store_.check_addition("T1", KVR_TEST_RATIO_DOWN, "ratio_3ph"),
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(contents_of(store_), "T1#1:1 ");
}

TEST_F(SqliteStoreTest, KeepsRecordsOfEveryFamily) {
  const std::vector<std::string> results = {
      "data_ratio_3ph[0].step_up.ratio_3ph = 1", "data_ratio_1ph[0].phase.tnr = 1",
      "data_mbalance[0].max_imbalance = 1",      "data_resistance[0].sides.secondary.count = 0",
      "data_demag[0].duration_ms = 1",           "data_efficiency[0].total_losses = 1",
      "data_impedance[0].tests.count = 0",       "data_drm[0].first_transition.end_time = 1",
      "data_heatrun[0].duration_ms = 1",         "data_gonogo[0].status_open_circuit = 1",
  };
  for (const std::string& result : results) {
    const std::string id = "T" + std::to_string(&result - results.data());
    OwnedRecord record = parse_record(
        "record_id = " + id + "\ntest_count = 1\ndata_count = 1\n" + result + "\n", id);
    ASSERT_EQ(store_.save_new(*record.get(), 0), KVR_RES_OK) << result;
    ASSERT_EQ(add_to(store_, *record.get()), KVR_RES_OK) << result;
    RecordNest read;
    ASSERT_EQ(store_.read(id, read), KVR_RES_OK) << result;
    EXPECT_EQ(read->data_count, 2U);
    EXPECT_EQ(family_of(*read), family_of(*record.get()));
  }
}

TEST_F(SqliteStoreTest, KeepsARecordWithoutResults) {
  OwnedRecord record = parse_record("record_id = T1\ntest_type = 5\n", "empty");
  EXPECT_EQ(store_.save_new(*record.get(), 0), KVR_RES_OK);
  RecordNest read;
  ASSERT_EQ(store_.read("T1", read), KVR_RES_OK);
  EXPECT_EQ(read->test_count, 0U);
  EXPECT_EQ(read->test_type, KVR_TEST_RATIO_CT);
}

TEST_F(SqliteStoreTest, DistinguishesIdsByTheirBytes) {
  const std::vector<std::string> ids = {
      "t1", "T1", "T1 ", " T1", "T'1", "\xC3\xA9", "\xE9\xFF", "12345678901234567890123456789"};
  for (const std::string& id : ids) {
    OwnedRecord record = ratio_record("x");
    id.copy(record.get()->record_id, kIdSize);
    EXPECT_EQ(store_.save_new(*record.get(), 0), KVR_RES_OK) << id;
  }
  for (const std::string& id : ids) {
    RecordNest read;
    ASSERT_EQ(store_.read(id, read), KVR_RES_OK) << id;
    EXPECT_EQ(read->record_id, id);
  }
}

TEST_F(SqliteStoreTest, RefusesARecordWithoutAnId) {
  EXPECT_EQ(store_.save_new(kvr_TestRecord{}, 0), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(add_to(store_, kvr_TestRecord{}), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(contents_of(store_), "");
}

TEST_F(SqliteStoreTest, RefusesARecordThatHasNoStoredForm) {
  OwnedRecord record = ratio_record("T1");
  std::fill(std::begin(record.get()->asset_id), std::end(record.get()->asset_id), 'x');
  EXPECT_EQ(store_.save_new(*record.get(), 0), KVR_RES_DATA_INVALID);
  EXPECT_EQ(contents_of(store_), "");
}

TEST_F(SqliteStoreTest, ReadsNothingUnderAnIdThatIsNotThere) {
  EXPECT_EQ(save("T1"), KVR_RES_OK);
  for (const char* id : {"", "T", "T11", "t1", "' OR 1 = 1 --"}) {
    RecordNest read;
    EXPECT_EQ(store_.read(id, read), KVR_RES_RECORD_NOT_FOUND) << id;
    EXPECT_EQ(read, nullptr);
    EXPECT_EQ(store_.remove(id), KVR_RES_RECORD_NOT_FOUND) << id;
  }
  EXPECT_EQ(contents_of(store_), "T1#1:10 ");
}

TEST_F(SqliteStoreTest, RemovesOneRecordWithItsTests) {
  save("T1", 1);
  save("T2", 2);
  add("T1", 3);

  EXPECT_EQ(store_.remove("T1"), KVR_RES_OK);

  EXPECT_EQ(contents_of(store_), "T2#1:2 ");
  EXPECT_EQ(rows_of(file_, "SELECT count(*) FROM tests"), "1\n");
  EXPECT_EQ(store_.remove("T1"), KVR_RES_RECORD_NOT_FOUND);
}

TEST_F(SqliteStoreTest, AnIdThatWasRemovedIsFreeAgain) {
  save("T1", 1);
  store_.remove("T1");
  EXPECT_EQ(save("T1", 2), KVR_RES_OK);
  EXPECT_EQ(contents_of(store_), "T1#1:2 ");
}

TEST_F(SqliteStoreTest, ClearsEverything) {
  save("T1", 1);
  add("T1", 2);
  save("T2", 2);

  EXPECT_EQ(store_.clear(), KVR_RES_OK);

  EXPECT_EQ(contents_of(store_), "");
  EXPECT_EQ(rows_of(file_, "SELECT count(*) FROM tests"), "0\n");
  EXPECT_EQ(store_.clear(), KVR_RES_OK);
}

TEST_F(SqliteStoreTest, ListsByThreeKeysBothWays) {
  struct Sample {
    const char* id;
    std::int64_t time;
    kvr_WindingType high;
  };
  // B and A have the same time, A and C the same vector group.
  for (const Sample& sample : {Sample{"B", 20, KVR_WINDING_YN}, Sample{"A", 20, KVR_WINDING_D},
                               Sample{"C", 10, KVR_WINDING_D}}) {
    OwnedRecord record = ratio_record(sample.id);
    record.get()->setup.windings[0].winding_type = sample.high;
    ASSERT_EQ(store_.save_new(*record.get(), sample.time), KVR_RES_OK);
  }
  EXPECT_EQ(listed(SortKey::kDateTime, true), "C B A ");
  EXPECT_EQ(listed(SortKey::kDateTime, false), "B A C ");
  EXPECT_EQ(listed(SortKey::kTestId, true), "A B C ");
  EXPECT_EQ(listed(SortKey::kTestId, false), "C B A ");
  EXPECT_EQ(listed(SortKey::kVectorGroup, true), "A C B ");
  EXPECT_EQ(listed(SortKey::kVectorGroup, false), "B A C ");
}

TEST_F(SqliteStoreTest, KeepsItsPlaceInTheListWhenATestIsAdded) {
  save("T1", 1, 100);
  save("T2", 1, 200);
  add("T1", 2);
  EXPECT_EQ(listed(SortKey::kDateTime, true), "T1 T2 ");
}

TEST_F(SqliteStoreTest, ListsTheHeadsOfTheRecords) {
  OwnedRecord record = ratio_record("T1");
  save("T1");
  add("T1", 2);

  Labels labels;
  ASSERT_EQ(store_.list(SortKey::kTestId, true, labels), KVR_RES_OK);

  ASSERT_EQ(labels->count, 1U);
  record.get()->test_count = 2;
  const kvr_TestLabel expected = label_of(*record.get());
  EXPECT_EQ(std::memcmp(labels->entries, &expected, sizeof expected), 0);
}

TEST_F(SqliteStoreTest, ReturnsTheHeadOfARecordAndOfOneThatHasGrown) {
  kvr_TestLabel head{};
  EXPECT_EQ(store_.head("T1", head), KVR_RES_RECORD_NOT_FOUND);
  save("T1");
  save("T2");
  EXPECT_EQ(store_.head("T1", head), KVR_RES_OK);
  EXPECT_STREQ(head.record_id, "T1");
  EXPECT_EQ(head.test_count, 1U);
  EXPECT_EQ(head.test_type, KVR_TEST_RATIO_DOWN);

  EXPECT_EQ(store_.add_test(*ratio_record("T1").get(), head), KVR_RES_OK);
  EXPECT_EQ(head.test_count, 2U);
  EXPECT_EQ(store_.head("T1", head), KVR_RES_OK);
  EXPECT_EQ(head.test_count, 2U);
}

TEST_F(SqliteStoreTest, LeavesTheHeadAloneWhenNothingIsAdded) {
  kvr_TestLabel head{};
  head.test_count = 7;
  EXPECT_EQ(store_.add_test(*ratio_record("T1").get(), head), KVR_RES_RECORD_NOT_FOUND);
  EXPECT_EQ(store_.head("T1", head), KVR_RES_RECORD_NOT_FOUND);
  EXPECT_EQ(head.test_count, 7U);
}

TEST_F(SqliteStoreTest, HoldsWhatItHeldWhenItIsOpenedAgain) {
  save("T1", 1);
  add("T1", 2);
  SqliteStore second({.path = file_});
  EXPECT_EQ(contents_of(second), "T1#2:1,2 ");
}

TEST_F(SqliteStoreTest, TwoStoresOnOneFileSeeEachOther) {
  SqliteStore second({.path = file_});
  save("T1", 1);
  EXPECT_EQ(contents_of(second), "T1#1:1 ");
  EXPECT_EQ(add_to(second, *ratio_record("T1", 2).get()), KVR_RES_OK);
  EXPECT_EQ(second.save_new(*ratio_record("T2", 3).get(), 0), KVR_RES_OK);
  EXPECT_EQ(contents_of(store_), "T1#2:1,2 T2#1:3 ");
  EXPECT_EQ(save("T2"), KVR_RES_TESTID_EXISTS);
}

TEST_F(SqliteStoreTest, IsAWriteAheadLogDatabaseWithMarkAndVersion) {
  EXPECT_EQ(rows_of(file_, "PRAGMA journal_mode"), "wal\n");
  EXPECT_EQ(rows_of(file_, "PRAGMA application_id"), "1263948371\n");
  EXPECT_EQ(rows_of(file_, "PRAGMA user_version"), "1\n");
}

TEST_F(SqliteStoreTest, LeavesOneFileWhenItIsClosed) {
  TemporaryFolder folder;
  {
    SqliteStore store({.path = folder.path() / "records.db"});
    EXPECT_EQ(store.save_new(*ratio_record("T1").get(), 0), KVR_RES_OK);
  }
  EXPECT_THAT(files_in(folder.path()), testing::ElementsAre("records.db"));
}

TEST_F(SqliteStoreTest, ReadsAFileOfVersion1) {
  // Written by hand, since files of older versions must stay readable.
  const fs::path file = folder_.path() / "version 1.db";
  std::string head(2 * sizeof(kvr_TestLabel), '0');
  head.replace(2 * 60, 4, "5431");  // record_id "T1"
  head.replace(2 * 124, 2, "01");   // test_count
  std::string data =
      "4B565252"
      "01000000" +
      std::string(2 * sizeof(kvr_TestRecord), '0') + std::string(2 * 11, '0');
  data.replace(2 * (8 + 60), 4, "5431");
  data.replace(2 * (8 + 124), 2, "01");
  run_sql(file,
          "CREATE TABLE records (\n  number INTEGER PRIMARY KEY,\n"
          "  record_id TEXT NOT NULL UNIQUE,\n  head BLOB NOT NULL,\n  time INTEGER NOT NULL,\n"
          "  family TEXT NOT NULL,\n  head_checksum INTEGER NOT NULL\n);"
          "CREATE TABLE tests (\n  number INTEGER PRIMARY KEY,\n  record INTEGER NOT NULL,\n"
          "  data BLOB NOT NULL,\n  data_checksum INTEGER NOT NULL\n);"
          "CREATE INDEX tests_of_record ON tests (record, number);"
          "PRAGMA application_id = 1263948371; PRAGMA user_version = 1;"
          "INSERT INTO records VALUES (1, 'T1', x'" +
              head +
              "', 5, 'none', 173727999);"
              "INSERT INTO tests VALUES (1, 1, x'" +
              data + "', 13990852);");

  SqliteStore store({.path = file});

  EXPECT_EQ(contents_of(store), "T1#1: ");
}

TEST(SqliteStoreInMemory, HoldsRecordsAsLongAsItLives) {
  SqliteStore store({});
  EXPECT_EQ(store.save_new(*ratio_record("T1", 1).get(), 0), KVR_RES_OK);
  EXPECT_EQ(add_to(store, *ratio_record("T1", 2).get()), KVR_RES_OK);
  EXPECT_EQ(contents_of(store), "T1#2:1,2 ");

  SqliteStore other({});
  EXPECT_EQ(contents_of(other), "");
}

TEST(SqliteStorePath, CanHoldAnyCharacter) {
  const WatchedDisk disk;
  TemporaryFolder folder;
  std::vector<const char*> names = {"a#1%20.db", "\xC3\xA4 b.db"};
  if (fs::path::preferred_separator == '/') {
    // Names that SQLite could interpret in another way. Windows does not allow them.
    names.insert(names.end(), {"file:x.db", ":memory:", "a?mode=memory"});
  }
  for (const char* name : names) {
    const fs::path file = folder.path() / std::u8string(reinterpret_cast<const char8_t*>(name));
    {
      SqliteStore store({.path = file});
      EXPECT_EQ(store.save_new(*ratio_record("T1", 1).get(), 0), KVR_RES_OK) << name;
    }
    EXPECT_TRUE(fs::exists(file)) << name;
    EXPECT_EQ(contents_of(file), "T1#1:1 ") << name;
  }
}

TEST(SqliteStorePath, CanBeRelative) {
  const WatchedDisk disk;
  TemporaryFolder folder;
  const WorkingFolder here(folder.path());
  { SqliteStore store({.path = "records.db"}); }
  EXPECT_THAT(files_in(folder.path()), testing::ElementsAre("records.db"));
}

TEST(SqliteStoreCost, AListReadsNoTests) {
  const WatchedDisk disk;
  TemporaryFolder folder;
  const fs::path file = folder.path() / "records.db";
  constexpr int kRecords = 200;
  fill_store(file, kRecords, *ratio_record("R", 1, std::string(60'000, 'x')).get(), true);
  ASSERT_GT(fs::file_size(file), kRecords * 60'000U);
  // Small enough to be checked completely when it is opened, which reads all of it.
  SqliteStore store({.path = file});
  const std::uint64_t before = disk.bytes_read();

  Labels labels;
  ASSERT_EQ(store.list(SortKey::kTestId, true, labels), KVR_RES_OK);

  EXPECT_EQ(labels->count, 200U);
  EXPECT_LT(disk.bytes_read() - before, kRecords * 1'000U);
}

}  // namespace
}  // namespace virtual_instrument

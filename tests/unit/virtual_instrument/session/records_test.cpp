#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "unit/record_form/sample_records.h"
#include "unit/virtual_instrument/session/client.h"
#include "unit/virtual_instrument/store/watched_disk.h"
#include "virtual_instrument/store/sqlite_store.h"

namespace virtual_instrument {
namespace {

class Records : public ClientTest {
 protected:
  static bool exists(const char* id) {
    bool result = false;
    EXPECT_EQ(kvr_CheckRecordExists(id, &result), KVR_RES_OK);
    return result;
  }

  static std::string list(std::int32_t sort_key, std::int32_t ascending) {
    kvr_TestLabelsList* labels = nullptr;
    EXPECT_EQ(kvr_ListRecords(&labels, nullptr, sort_key, ascending), KVR_RES_OK);
    std::string ids;
    for (std::uint32_t i = 0; i < labels->count; ++i) {
      ids += std::string(labels->entries[i].record_id) + " ";
    }
    EXPECT_EQ(kvr_FreeTestLabelsList(labels), KVR_RES_OK);
    return ids;
  }
};

TEST_F(Records, ATestComesBackAsARecord) {
  start();
  const TestAnswer answer = test("T1", KVR_SAVE_NEW_RECORD);
  ASSERT_EQ(answer.code, KVR_RES_OK);
  const kvr_TestRecord& record = *answer.record;
  EXPECT_STREQ(record.asset_id, "");
  EXPECT_STREQ(record.group_id, "");
  EXPECT_STREQ(record.record_id, "T1");
  EXPECT_EQ(record.save_mode, KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(record.test_count, 1U);
  EXPECT_EQ(record.test_type, KVR_TEST_RATIO_DOWN);
  const kvr_TestSetup setup = setup_with_ratio(10);
  EXPECT_EQ(std::memcmp(&record.setup, &setup, sizeof(setup)), 0);
  EXPECT_STREQ(record.timestamp, "2024-03-05 12:00:00");
  EXPECT_EQ(record.data_count, 1U);
  EXPECT_EQ(record.data_ratio_3ph, nullptr);
  ASSERT_NE(record.data_ratio_1ph, nullptr);
  EXPECT_EQ(record.data_ratio_1ph[0]->direction, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(record.data_ratio_1ph[0]->reference_ratio, 10);
  EXPECT_NEAR(record.data_ratio_1ph[0]->phase.tnr, 10, 0.01);
  EXPECT_EQ(std::string(record.raw_data).substr(0, 13), "# RAW samples");
}

TEST_F(Records, RawDataIsNullIfItWasNotAskedFor) {
  start();
  kvr_TestRequestHeader header = request_header("T1", KVR_SAVE_NEW_RECORD);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8);
  request.setup.raw_data_requested = 0;
  kvr_TestRecord* record = nullptr;
  ASSERT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, &record), KVR_RES_OK);
  EXPECT_EQ(record->raw_data, nullptr);
  kvr_FreeTestRecord(record);
  EXPECT_EQ(read("T1").record->raw_data, nullptr);
}

TEST_F(Records, AThreePhaseTestHasItsOwnArray) {
  start();
  const TestAnswer answer = test_3ph("T3", KVR_SAVE_NEW_RECORD);
  ASSERT_EQ(answer.code, KVR_RES_OK);
  EXPECT_EQ(answer.record->data_ratio_1ph, nullptr);
  EXPECT_NEAR(answer.record->data_ratio_3ph[0]->ratio_3ph, 10, 0.01);
  EXPECT_NEAR(read("T3").record->data_ratio_3ph[0]->ratio_3ph, 10, 0.01);
}

TEST_F(Records, ModeOneStoresANewRecordOnce) {
  start();
  EXPECT_FALSE(exists("T1"));
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  EXPECT_TRUE(exists("T1"));
  const TestAnswer again = test("T1", KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(again.code, KVR_RES_TESTID_EXISTS);
  EXPECT_EQ(again.record, nullptr);
  EXPECT_EQ(read("T1").record->test_count, 1U);
}

TEST_F(Records, ModeTwoAddsToTheRecordAndGivesTheNewTestAlone) {
  start();
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  for (std::uint32_t count = 2; count <= 3; ++count) {
    const TestAnswer answer = test("T1", KVR_SAVE_ADD_TO_RECORD);
    ASSERT_EQ(answer.code, KVR_RES_OK);
    EXPECT_EQ(answer.record->test_count, count);
    EXPECT_EQ(answer.record->data_count, 1U);
    EXPECT_EQ(answer.record->save_mode, KVR_SAVE_ADD_TO_RECORD);
  }
  const TestAnswer stored = read("T1");
  ASSERT_EQ(stored.code, KVR_RES_OK);
  EXPECT_EQ(stored.record->test_count, 3U);
  EXPECT_EQ(stored.record->data_count, 3U);
  EXPECT_NEAR(stored.record->data_ratio_1ph[2]->phase.tnr, 10, 0.01);
}

TEST_F(Records, ModeTwoRefusesATestOfAnotherKind) {
  start();
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  EXPECT_EQ(test_3ph("T1", KVR_SAVE_ADD_TO_RECORD).code, KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  kvr_TestRequestHeader header = request_header("T1", KVR_SAVE_ADD_TO_RECORD);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_UP, 8);
  kvr_TestRecord* record = nullptr;
  EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, &record),
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(read("T1").record->test_count, 1U);
}

TEST_F(Records, ModeThreeStoresNothing) {
  start();
  const TestAnswer answer = test("T1", KVR_SAVE_NOTHING);
  EXPECT_EQ(answer.code, KVR_RES_OK);
  EXPECT_STREQ(answer.record->record_id, "T1");
  EXPECT_FALSE(exists("T1"));
}

TEST_F(Records, OtherModesAreIncorrect) {
  start();
  for (const std::int32_t mode : {0, 4, -1}) {
    EXPECT_EQ(test("T1", static_cast<kvr_SaveMode>(mode)).code, KVR_RES_INCORRECT_PARAMETERS);
  }
}

// A series without an ID: its first test is not stored, but the others use its name.
TEST_F(Records, ASeriesWithoutAnIdIsNamedFromDateAndTime) {
  start();
  const TestAnswer first = test("", KVR_SAVE_NOTHING);
  ASSERT_EQ(first.code, KVR_RES_OK);
  EXPECT_STREQ(first.record->record_id, "20240305-120000");
  EXPECT_FALSE(exists("20240305-120000"));
  const TestAnswer second = test(first.record->record_id, KVR_SAVE_ADD_TO_RECORD);
  ASSERT_EQ(second.code, KVR_RES_OK);
  EXPECT_EQ(second.record->test_count, 1U);
  EXPECT_TRUE(exists("20240305-120000"));
  EXPECT_EQ(test(first.record->record_id, KVR_SAVE_ADD_TO_RECORD).record->test_count, 2U);
}

TEST_F(Records, ANameThatIsTakenGetsANumber) {
  start();
  EXPECT_STREQ(test("", KVR_SAVE_NEW_RECORD).record->record_id, "20240305-120000");
  EXPECT_STREQ(test("", KVR_SAVE_NEW_RECORD).record->record_id, "20240305-120000-2");
  EXPECT_STREQ(test("", KVR_SAVE_NOTHING).record->record_id, "20240305-120000-3");
}

TEST_F(Records, TheBenchSaysHowRecordsAreNamed) {
  start("[store]\nempty_id_format = \"R%H%M\"\n");
  EXPECT_STREQ(test().record->record_id, "R1200");
}

TEST_F(Records, TextsThatFillTheirFieldAreTooLong) {
  start();
  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NEW_RECORD);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8);
  kvr_TestRecord* record = nullptr;
  for (char(*field)[kIdSize] : {&header.record_id, &header.asset_id, &header.group_id}) {
    std::memset(field, 'x', kIdSize);
    EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, &record), KVR_RES_TEXT_TOO_LONG);
    (*field)[kIdSize - 1] = '\0';
  }
  ASSERT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, &record), KVR_RES_OK);
  EXPECT_EQ(std::string(record->record_id), std::string(29, 'x'));
  EXPECT_EQ(std::string(record->asset_id), std::string(29, 'x'));
  EXPECT_EQ(std::string(record->group_id), std::string(29, 'x'));
  kvr_FreeTestRecord(record);
  EXPECT_TRUE(exists(std::string(29, 'x').c_str()));
}

TEST_F(Records, UnknownOnesAreNotFoundAndOutParametersStay) {
  start();
  kvr_TestRecord* const other = reinterpret_cast<kvr_TestRecord*>(&params_);
  kvr_TestRecord* record = other;
  EXPECT_EQ(kvr_ReadRecord("T9", 1, &record), KVR_RES_RECORD_NOT_FOUND);
  EXPECT_EQ(record, other);
  EXPECT_EQ(kvr_DeleteRecord("T9"), KVR_RES_RECORD_NOT_FOUND);
  EXPECT_EQ(kvr_DeleteRecord(""), KVR_RES_RECORD_NOT_FOUND);
  EXPECT_FALSE(exists(""));
  EXPECT_FALSE(exists(std::string(1000, 'x').c_str()));
}

TEST_F(Records, AreListedInSixOrders) {
  start("[instrument]\nclock = 2024-03-05T12:00:00Z\n[measurement]\nduration = 0\n");
  EXPECT_EQ(test("b", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  set_bench("[instrument]\nclock = 2024-03-05T11:00:00Z\n[measurement]\nduration = 0\n");
  EXPECT_EQ(test("c", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  set_bench("[instrument]\nclock = 2024-03-05T13:00:00Z\n[measurement]\nduration = 0\n");
  EXPECT_EQ(test_3ph("a", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  EXPECT_EQ(list(kSortByDateTime, 1), "c b a ");
  EXPECT_EQ(list(kSortByDateTime, 0), "a b c ");
  EXPECT_EQ(list(kSortByTestId, 1), "a b c ");
  EXPECT_EQ(list(kSortByTestId, 0), "c b a ");
  // b and c are of one group: they stay in the order in which they were begun.
  EXPECT_EQ(list(kSortByVectorGroup, 1), "b c a ");
  EXPECT_EQ(list(kSortByVectorGroup, 0), "a b c ");
}

TEST_F(Records, AnEmptyListIsAListToo) {
  start();
  kvr_TestLabelsList* labels = nullptr;
  ASSERT_EQ(kvr_ListRecords(&labels, nullptr, 0, 1), KVR_RES_OK);
  ASSERT_NE(labels, nullptr);
  EXPECT_EQ(labels->count, 0U);
  EXPECT_EQ(kvr_FreeTestLabelsList(labels), KVR_RES_OK);
}

TEST_F(Records, AreDeletedAndCleared) {
  start();
  for (const char* id : {"T1", "T2"}) {
    EXPECT_EQ(test(id, KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  }
  EXPECT_EQ(kvr_DeleteRecord("T1"), KVR_RES_OK);
  EXPECT_FALSE(exists("T1"));
  EXPECT_TRUE(exists("T2"));
  EXPECT_EQ(kvr_ClearTestDatabase(), KVR_RES_OK);
  EXPECT_EQ(list(0, 1), "");
}

TEST_F(Records, OutliveTheSession) {
  start();
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  const TestAnswer kept = read("T1");
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  EXPECT_STREQ(kept.record->record_id, "T1");
  ASSERT_EQ(initialize(), KVR_RES_OK);
  ASSERT_EQ(connect(), KVR_RES_OK);
  EXPECT_TRUE(exists("T1"));
}

struct CardFault {
  const char* status;
  kvr_code code;
  bool for_writing_only;
};

class CardFaults : public Records, public testing::WithParamInterface<CardFault> {};

TEST_P(CardFaults, KeepRecordsOutOfReachButNotTestsThatAreNotStored) {
  start();
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  set_bench(std::string("[status]\n") + GetParam().status + "\n");
  const kvr_code writing = GetParam().code;
  const kvr_code reading = GetParam().for_writing_only ? KVR_RES_OK : writing;
  bool exists = false;
  EXPECT_EQ(test("T2", KVR_SAVE_NEW_RECORD).code, writing);
  EXPECT_EQ(test("T1", KVR_SAVE_ADD_TO_RECORD).code, writing);
  EXPECT_EQ(kvr_DeleteRecord("T1"), writing);
  EXPECT_EQ(kvr_ClearTestDatabase(), writing);
  EXPECT_EQ(read("T1").code, reading);
  EXPECT_EQ(kvr_CheckRecordExists("T1", &exists), reading);
  EXPECT_EQ(exists, reading == KVR_RES_OK);
  EXPECT_EQ(test("T2", KVR_SAVE_NOTHING).code, KVR_RES_OK);
}

TEST_P(CardFaults, ShowInTheStatus) {
  start(std::string("[status]\n") + GetParam().status + "\n");
  kvr_Status status{};
  ASSERT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
  EXPECT_EQ(status.database_loaded, GetParam().for_writing_only ? 1 : 0);
  EXPECT_EQ(status.secondary_sd_read_only, GetParam().for_writing_only ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Records, CardFaults,
    testing::Values(
        CardFault{"secondary_sd_mounted = false", KVR_RES_SECONDARY_SDCARD_MISSING, false},
        CardFault{"secondary_sd_error = true", KVR_RES_SECONDARY_SDCARD_HW_ERROR, false},
        CardFault{"database_loaded = false", KVR_RES_SQL_DATABASE_ERROR, false},
        CardFault{"secondary_sd_read_only = true", KVR_RES_SECONDARY_SDCARD_READ_ONLY, true}));

TEST_F(Records, TheSameBenchAndRequestsGiveTheSameBytesTwice) {
  const std::string noisy =
      "[measurement]\nduration = 0\nnoise = 0.12\nsamples_per_period = 16\nperiods = 2\n";
  std::string runs[2];
  for (std::string& run : runs) {
    start(noisy);
    for (int number = 0; number < 2; ++number) {
      const TestAnswer answer = test("T1", KVR_SAVE_NOTHING);
      ASSERT_EQ(answer.code, KVR_RES_OK);
      const kvr_TestData_Ratio_1ph& data = *answer.record->data_ratio_1ph[0];
      run.append(reinterpret_cast<const char*>(answer.record.get()),
                 offsetof(kvr_TestRecord, data_ratio_3ph));
      run.append(reinterpret_cast<const char*>(&data), sizeof(data));
      run += answer.record->raw_data;
    }
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  }
  EXPECT_EQ(runs[0], runs[1]);
  // Two tests of one run still are two measurements.
  EXPECT_NE(runs[0].substr(0, runs[0].size() / 2), runs[0].substr(runs[0].size() / 2));
}

/// Bench text that keeps the records in a file.
std::string in_file(const std::filesystem::path& file) {
  return "[store]\nfile = '" + file.generic_string() + "'\n";
}

TEST_F(Records, AreKeptInTheFileThatTheBenchNames) {
  const std::filesystem::path file = folder_.path() / "records.db";
  start(in_file(file));
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  start(in_file(folder_.path() / "others.db"));
  EXPECT_FALSE(exists("T1"));
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  start(in_file(file));
  EXPECT_TRUE(exists("T1"));
  bool in_store = false;
  EXPECT_EQ(SqliteStore({.path = file}).exists("T1", in_store), KVR_RES_OK);
  EXPECT_TRUE(in_store);
}

TEST_F(Records, AreInTheOneFileOnceTheSessionHasEnded) {
  start(in_file(folder_.path() / "records.db"));
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "records.db-wal"));
  std::filesystem::copy_file(folder_.path() / "records.db", folder_.path() / "copy.db");
  start(in_file(folder_.path() / "copy.db"));
  EXPECT_TRUE(exists("T1"));
}

// The first shutdown is called within a test of the session that it ends.
TEST_F(Records, OfANewSessionAreKeptWhileTheOldOneStillEnds) {
  const std::string bench = in_file(folder_.path() / "records.db");
  start(bench);
  bool begun = false;
  const auto begin_again = [&] {
    if (!begun) {
      begun = true;
      EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
      start(bench);
      EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
    }
  };
  std::function<void()> reaction = begin_again;
  kvr_ProgressHandler handler{
      [](void* context, const kvr_Progress*) { (*static_cast<std::function<void()>*>(context))(); },
      &reaction};
  EXPECT_EQ(test("T0", KVR_SAVE_NEW_RECORD, &handler).code, KVR_RES_OPERATION_CANCELLED);
  EXPECT_TRUE(exists("T1"));
  EXPECT_FALSE(exists("T0"));
}

TEST_F(Records, AFileThatIsNoStoreIsRefusedUntilAnotherIsPutIn) {
  folder_.write("records.db", "no database, but a text of some length and of no use at all");
  start(in_file(folder_.path() / "records.db"));
  kvr_Status status{};
  EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
  EXPECT_EQ(status.database_loaded, 0);
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_SQL_DATABASE_ERROR);
  EXPECT_EQ(test("T1", KVR_SAVE_NOTHING).code, KVR_RES_OK);
  const TestAnswer unnamed = test("", KVR_SAVE_NOTHING);
  ASSERT_EQ(unnamed.code, KVR_RES_OK);
  EXPECT_STREQ(unnamed.record->record_id, "20240305-120000");
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  std::filesystem::remove(folder_.path() / "records.db");
  start(in_file(folder_.path() / "records.db"));
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
}

// Before a test begins, not at its end.
TEST_F(Records, AStoreOnADiskThatCannotBeWrittenShowsInTheStatusAndRefusesTests) {
  const std::filesystem::path file = folder_.path() / "records.db";
  EXPECT_EQ(SqliteStore({.path = file}).save_new(*ratio_record("T1").get(), 0), KVR_RES_OK);
  {
    WatchedDisk disk;
    disk.set_read_only();
    start(in_file(file));
    kvr_Status status{};
    EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
    EXPECT_EQ(status.database_loaded, 1);
    EXPECT_EQ(status.secondary_sd_read_only, 1);
    EXPECT_TRUE(exists("T1"));
    bool begun = false;
    kvr_ProgressHandler handler{
        [](void* context, const kvr_Progress*) { *static_cast<bool*>(context) = true; }, &begun};
    EXPECT_EQ(test("T2", KVR_SAVE_NEW_RECORD, &handler).code, KVR_RES_SECONDARY_SDCARD_READ_ONLY);
    EXPECT_FALSE(begun);
    EXPECT_EQ(kvr_DeleteRecord("T1"), KVR_RES_SECONDARY_SDCARD_READ_ONLY);
    EXPECT_EQ(test("T2", KVR_SAVE_NOTHING).code, KVR_RES_OK);
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  }
}

TEST_F(Records, ADemonstrationFillsAStoreInMemoryThatAnotherSessionHasOpened) {
  start();
  EXPECT_EQ(list(kSortByTestId, 1), "");
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  start("[store]\ndemonstration = true\n");
  EXPECT_TRUE(exists("demo-ratio-auto"));
}

TEST_F(Records, ADemonstrationFillsAnEmptyStoreAlone) {
  const std::string bench = in_file(folder_.path() / "records.db") + "demonstration = true\n";
  start(bench);
  EXPECT_TRUE(exists("demo-ratio-auto"));
  EXPECT_EQ(kvr_DeleteRecord("demo-drm"), KVR_RES_OK);
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  start(in_file(folder_.path() / "others.db"));
  EXPECT_FALSE(exists("demo-ratio-auto"));
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  start(bench);
  EXPECT_FALSE(exists("demo-drm"));
  EXPECT_TRUE(exists("T1"));
}

}  // namespace
}  // namespace virtual_instrument

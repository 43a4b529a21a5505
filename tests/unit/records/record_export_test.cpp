#include "records/record_export.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/flow_test.h"
#include "unit/records/record_export_rows.h"

namespace {

using testing::ElementsAre;

// Whole exports.

TEST_F(RecordExport, OfAnEmptyStore) {
  store_holds({});
  EXPECT_EQ(run(), "");
  EXPECT_EQ(three_phase_file(), kThreePhaseHeader + "\n");
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n");
  EXPECT_EQ(call_lines(), "kvr_ListRecords filter=null sort_key=1 ascending=1 list=null\n");
}

TEST_F(RecordExport, OfRecordsOfAllKinds) {
  store_holds({"T1", "T3", "R1"});
  read_gives(single_phase_record());
  read_gives(three_phase_record());
  read_gives("record_id = R1\ntest_count = 1\ndata_count = 1\ntest_type = 8\n");
  EXPECT_EQ(run(),
            "Serialize[1/3] T1\n"
            "Serialize[2/3] T3\n"
            "Serialize[3/3] R1\n"
            "Record is empty\n");
  EXPECT_EQ(three_phase_file(), kThreePhaseHeader + "\n" + kThreePhaseRow);
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n" + kSinglePhaseRow);
  // The program frees the list with its own allocator, so without a call; the three-phase record is
  // not freed.
  EXPECT_EQ(call_lines(),
            "kvr_ListRecords filter=null sort_key=1 ascending=1 list=null\n"
            "kvr_ReadRecord \"T1\" setting=1 record=null\n"
            "kvr_FreeTestRecord record=1 \"T1\"\n"
            "kvr_ReadRecord \"T3\" setting=1 record=null\n"
            "kvr_ReadRecord \"R1\" setting=1 record=set\n"  // the one of T3, which is not cleared
            "kvr_FreeTestRecord record=3 \"R1\"\n");
  EXPECT_THAT(api.complaints(), ElementsAre("record 2 was not given back"));
}

TEST_F(RecordExport, PrefersTheThreePhaseResultsOfARecord) {
  store_holds({"T3"});
  read_gives(three_phase_record() + with_prefix("data_ratio_1ph[0].", kSinglePhaseFields));
  EXPECT_EQ(run(), "Serialize[1/1] T3\n");
  EXPECT_EQ(three_phase_file(), kThreePhaseHeader + "\n" + kThreePhaseRow);
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n");
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 0U);
}

TEST_F(RecordExport, ShowsTheIdOfTheRecordAndNotOfItsEntry) {
  store_holds({"entry"});
  read_gives(single_phase_record());
  EXPECT_EQ(run(), "Serialize[1/1] T1\n");
}

TEST_F(RecordExport, OfARecordWithoutResults) {
  store_holds({"T3", "T1"});
  read_gives(three_phase_record() + "test_count = 0\n");
  read_gives(single_phase_record() + "test_count = 0\n");
  EXPECT_EQ(run(), "Serialize[1/2] T3\nSerialize[2/2] T1\n");
  EXPECT_EQ(three_phase_file(), kThreePhaseHeader + "\nT3,THIS RECORD DOES NOT CONTAIN RESULTS\n");
  EXPECT_EQ(single_phase_file(),
            kSinglePhaseHeader + "\nT1,THIS RECORD DOES NOT CONTAIN RESULTS\n");
}

TEST_F(RecordExport, TakesPartlyFailedReads) {
  store_holds({"T1", "T3"});
  read_gives(single_phase_record(), 44);
  read_gives(three_phase_record(), 76);
  EXPECT_EQ(run(), "Serialize[1/2] T1\nSerialize[2/2] T3\n");
  EXPECT_EQ(three_phase_file(), kThreePhaseHeader + "\n" + kThreePhaseRow);
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n" + kSinglePhaseRow);
}

TEST_F(RecordExport, PassesOverRefusedReads) {
  store_holds({"first", "T1", "third", "T3", "fifth"});
  api.answer(ApiCall::ReadRecord, {.result = KVR_RES_RECORD_NOT_FOUND});
  read_gives(single_phase_record());
  api.answer(ApiCall::ReadRecord, {.result = KVR_RES_DATA_INVALID});
  read_gives(three_phase_record());
  read_gives(single_phase_record(), KVR_RES_RPC_ERROR);
  EXPECT_EQ(run(),
            "\nERROR: wording of code 15\n"
            "Serialize[2/5] T1\n"
            "\nERROR: wording of code 14\n"
            "Serialize[4/5] T3\n"
            "\nERROR: wording of code 11\n");
  EXPECT_EQ(three_phase_file(), kThreePhaseHeader + "\n" + kThreePhaseRow);
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n" + kSinglePhaseRow);
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 1U);
}

TEST_F(RecordExport, PassesOverAReadWithoutARecord) {
  store_holds({"T0", "T1"});
  api.answer(ApiCall::ReadRecord, {.null = true});
  read_gives(single_phase_record());
  EXPECT_EQ(run(), "Serialize[2/2] T1\n");
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n" + kSinglePhaseRow);
}

TEST_F(RecordExport, WritesThePreviousRecordAgainForAReadWithoutARecord) {
  store_holds({"T3", "lost", "refused", "lost"});
  read_gives(three_phase_record());
  api.answer(ApiCall::ReadRecord, {.null = true});
  api.answer(ApiCall::ReadRecord, {.result = KVR_RES_DATA_INVALID});
  api.answer(ApiCall::ReadRecord, {.null = true});
  EXPECT_EQ(run(),
            "Serialize[1/4] T3\n"
            "Serialize[2/4] T3\n"
            "\nERROR: wording of code 14\n"
            "Serialize[4/4] T3\n");
  EXPECT_EQ(three_phase_file(),
            kThreePhaseHeader + "\n" + kThreePhaseRow + kThreePhaseRow + kThreePhaseRow);
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 0U);
}

TEST_F(RecordExport, WritesNoFreedRecordAgain) {
  store_holds({"T1", "lost"});
  read_gives(single_phase_record());
  api.answer(ApiCall::ReadRecord, {.null = true});
  EXPECT_EQ(run(), "Serialize[1/2] T1\n");
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n" + kSinglePhaseRow);
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 1U);
}

TEST_F(RecordExport, OfARefusedListLeavesEmptyFiles) {
  api.answer(ApiCall::ListRecords, {.result = KVR_RES_SQL_DATABASE_ERROR});
  EXPECT_EQ(run(), "\nERROR: wording of code 13\nLoad database failed\n");
  EXPECT_EQ(three_phase_file(), "");
  EXPECT_EQ(single_phase_file(), "");
  EXPECT_EQ(api.count(ApiCall::ReadRecord), 0U);
}

TEST_F(RecordExport, TakesAPartlyFailedList) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::ListRecords, {.result = result, .labels = std::vector{label("T1")}});
    read_gives(single_phase_record());
    EXPECT_EQ(run(), "Serialize[1/1] T1\n");
  }
}

TEST_F(RecordExport, LosesRowsAfterANullTextOfTheLibrary) {
  store_holds({"T3", "T1", "T3", "T1"});
  read_gives(three_phase_record() + "data_ratio_3ph[0].phases[1].status = 30\n");
  read_gives(single_phase_record());
  read_gives(three_phase_record());
  read_gives(single_phase_record());
  api.answer(ApiCall::CodeToString, {.null = true});
  EXPECT_EQ(run(),
            "Serialize[1/4] T3\n"
            "Serialize[2/4] T1\n"
            "Serialize[3/4] T3\n"
            "Serialize[4/4] T1\n");
  EXPECT_EQ(three_phase_file(), kThreePhaseHeader +
                                    "\nT3,05.03.2021 12:00:00,YNd1,STEP UP,Excite 3 : Measure 1,"
                                    "H1,101,,");
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n" + kSinglePhaseRow + kSinglePhaseRow);
}

TEST_F(RecordExport, ReplacesAnExportOfTheSameSecond) {
  store_holds({"T1"});
  read_gives(single_phase_record());
  run();
  store_holds({});
  EXPECT_EQ(run(), "");
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n");
}

TEST_F(RecordExport, LosesItsFilesSilently) {
  const std::string separator(1, results.prefix().back());
  results_folder = results.prefix() + "no such folder" + separator;
  store_holds({"T1", "T3"});
  read_gives(single_phase_record());
  read_gives(three_phase_record());
  const Console console;
  export_records();
  EXPECT_EQ(console.output(), "Export results to: " + results_folder + kFolder + separator +
                                  "\nSerialize[1/2] T1\nSerialize[2/2] T3\n");
  EXPECT_TRUE(results.empty());
}

TEST_F(RecordExport, WithoutAResultsFolderGoesToTheWorkingFolder) {
  results_folder = "";
  store_holds({});
  const Console console;
  export_records();
  EXPECT_EQ(working_folder.read(fs::path(kFolder) / "1ph_export.csv"), kSinglePhaseHeader + "\n");
}

TEST_F(RecordExport, TakesAMissingListForAnEmptyOne) {
  api.answer(ApiCall::ListRecords, {.null = true});
  EXPECT_EQ(run(), "");
  EXPECT_EQ(single_phase_file(), kSinglePhaseHeader + "\n");
}

}  // namespace

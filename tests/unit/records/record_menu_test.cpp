#include "records/record_menu.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/flow_test.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string kMenu =
    "\n== Choose menu item ==\n\n"
    "1. List database records\n"
    "2. Read record\n"
    "3. Export records to csv\n"
    "4. Delete record\n"
    "9. Clear database\n"
    "0. Cancel\n";
const std::string kSortMenu =
    "\n== Choose sort order ==\n\n"
    "1. Date/Time Asc\n"
    "2. Date/Time Desc\n"
    "3. Test ID Asc\n"
    "4. Test ID Desc\n"
    "5. Vector Group Asc\n"
    "6. Vector Group Desc\n"
    "0. Cancel\n";

kvr_TestLabel label(const std::string& record_id, const std::string& timestamp) {
  kvr_TestLabel label{};
  std::copy(record_id.begin(), record_id.end(), label.record_id);
  std::copy(timestamp.begin(), timestamp.end(), label.timestamp);
  label.asset_id[0] = 'A';
  label.group_id[0] = 'G';
  label.test_count = 3;
  label.test_type = KVR_TEST_RATIO_UP;
  label.setup.windings[0].winding_type = KVR_WINDING_YN;
  label.setup.windings[1].winding_type = KVR_WINDING_D;
  label.setup.connections[0].clock = 1;
  return label;
}

class RecordMenu : public FlowTest {
 protected:
  /// The output of an action whose answers are all read.
  static std::string output_of(void (*action)(), const std::string& answers) {
    const Console console(answers);
    action();
    EXPECT_EQ(console.unread(), "");
    return console.output();
  }
};

TEST_F(RecordMenu, LeavesForZero) {
  EXPECT_EQ(output_of(record_menu, "0\n"), kMenu);
  EXPECT_EQ(call_lines(), "");
}

TEST_F(RecordMenu, ShowsItselfAgainForAnyOtherNumber) {
  EXPECT_EQ(output_of(record_menu, "5\n6\n7\n8\n10\n-1\n0\n"),
            kMenu + kMenu + kMenu + kMenu + kMenu + kMenu + kMenu);
  EXPECT_EQ(call_lines(), "");
}

TEST_F(RecordMenu, DoesEachOfItsActions) {
  const std::string folder = results.prefix() + "20210315_12_00_00" + results.prefix().back();
  EXPECT_EQ(output_of(record_menu, "1\n0\n2\nT1\n3\n4\nT2\n9\ny\n0\n"),
            kMenu + kSortMenu + kMenu + "Test ID: " + text_of(*ratio_1ph_record("T1")) + kMenu +
                "Export results to: " + folder + "\n" + kMenu + "Test ID: Deleted!\n" + kMenu +
                "Do you want to clear tests database? (Y/N): Database has been reset!\n" + kMenu);
  EXPECT_EQ(call_lines(),
            "kvr_ReadRecord \"T1\" setting=1 record=null\n"
            "kvr_FreeTestRecord record=1 \"T1\"\n"
            "kvr_ListRecords filter=null sort_key=1 ascending=1 list=null\n"
            "kvr_DeleteRecord \"T2\"\n"
            "kvr_ClearTestDatabase\n");
}

TEST_F(RecordMenu, AsksAgainForAnAnswerThatIsNoNumber) {
  EXPECT_EQ(output_of(record_menu, "list\n0\n"), kMenu + "Wrong value, Please enter again: ");
}

// The list.

TEST_F(RecordMenu, ListsInTheOrderChosen) {
  const std::pair<std::string, std::string> kOrders[] = {
      {"1", "sort_key=0 ascending=1"}, {"2", "sort_key=0 ascending=0"},
      {"3", "sort_key=1 ascending=1"}, {"4", "sort_key=1 ascending=0"},
      {"5", "sort_key=2 ascending=1"}, {"6", "sort_key=2 ascending=0"}};
  for (const auto& [choice, arguments] : kOrders) {
    api.reset();
    EXPECT_EQ(output_of(list_records, choice + "\n"),
              kSortMenu + "Existing test results: \nTotal count: 0\n");
    EXPECT_EQ(call_lines(), "kvr_ListRecords filter=null " + arguments +
                                " list=null\nkvr_FreeTestLabelsList set\n");
    EXPECT_EQ(api.lists_given_back(), 1U);
  }
}

TEST_F(RecordMenu, ListsTheHeadsOfAllRecords) {
  api.answer(ApiCall::ListRecords,
             {.labels = std::vector{label("T1", "05.03.2021 12:00:00"), label("T2", ""),
                                    label(std::string(30, 'T'), std::string(23, 't'))}});
  const std::string setup = " group_id: G asset_id: A \tratio_up \tYNd1 \t #3 \t";
  EXPECT_EQ(output_of(list_records, "1\n"), kSortMenu +
                                                "Existing test results: \n"
                                                "Total count: 3\n"
                                                "record_id: T1" +
                                                setup + "05.03.2021 12:00:00\nrecord_id: T2" +
                                                setup + "\nrecord_id: " + std::string(30, 'T') +
                                                setup + std::string(23, 't') + "\n");
  EXPECT_THAT(api.complaints(), IsEmpty());
  EXPECT_EQ(api.lists_given_back(), 1U);
}

TEST_F(RecordMenu, AsksAgainForAnOrderThatIsNone) {
  EXPECT_EQ(output_of(list_records, "7\n-1\n1\n"),
            kSortMenu + kSortMenu + kSortMenu + "Existing test results: \nTotal count: 0\n");
}

TEST_F(RecordMenu, ListsNothingForZero) {
  EXPECT_EQ(output_of(list_records, "0\n"), kSortMenu);
  EXPECT_EQ(output_of(list_records, "9\n0\n"), kSortMenu + kSortMenu);
  EXPECT_EQ(call_lines(), "");
}

TEST_F(RecordMenu, FreesNothingOfARefusedList) {
  api.answer(ApiCall::ListRecords, {.result = KVR_RES_SQL_DATABASE_ERROR});
  EXPECT_EQ(output_of(list_records, "1\n"),
            kSortMenu + "Existing test results: \n\nERROR: wording of code 13\n");
  EXPECT_EQ(api.count(ApiCall::FreeTestLabelsList), 0U);
}

TEST_F(RecordMenu, TakesAPartlyFailedList) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::ListRecords, {.result = result, .labels = std::vector{label("T1", "")}});
    EXPECT_THAT(output_of(list_records, "1\n"), HasSubstr("Total count: 1\nrecord_id: T1"));
  }
  EXPECT_EQ(api.lists_given_back(), 2U);
}

TEST_F(RecordMenu, TakesAMissingListForAnEmptyOne) {
  api.answer(ApiCall::ListRecords, {.null = true});
  EXPECT_EQ(output_of(list_records, "1\n"),
            kSortMenu + "Existing test results: \nTotal count: 0\n");
}

// One record.

TEST_F(RecordMenu, ShowsARecordAndFreesIt) {
  const std::string record =
      "record_id = T 1\ntest_type = 1\ndata_count = 1\n"
      "data_ratio_1ph[0].direction = 1\ndata_ratio_1ph[0].phase.tnr = 16\n";
  api.answer(ApiCall::ReadRecord, {.record = gives(record)});
  EXPECT_EQ(output_of(read_record, "T 1\n"), "Test ID: " + text_of(*record_of(record)));
  EXPECT_EQ(call_lines(),
            "kvr_ReadRecord \"T 1\" setting=1 record=null\n"
            "kvr_FreeTestRecord record=1 \"T 1\"\n");
  EXPECT_TRUE(results.empty());
  EXPECT_TRUE(working_folder.empty());
}

TEST_F(RecordMenu, KeepsTheEqualsSignsOfARecord) {
  api.answer(ApiCall::ReadRecord, {.record = gives("record_id = a=b\n")});
  EXPECT_THAT(output_of(read_record, "a=b\n"), StartsWith("Test ID: record_id: a=b group_id: "));
}

TEST_F(RecordMenu, ShowsOnlyTheErrorOfARefusedRead) {
  api.answer(ApiCall::ReadRecord,
             {.result = KVR_RES_RECORD_NOT_FOUND, .record = gives("record_id = T1\n")});
  EXPECT_EQ(output_of(read_record, "T1\n"), "Test ID: \nERROR: wording of code 15\n");
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 0U);
}

TEST_F(RecordMenu, TakesAPartlyFailedRead) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::ReadRecord, {.result = result});
    EXPECT_EQ(output_of(read_record, "T1\n"), "Test ID: " + text_of(*ratio_1ph_record("T1")));
  }
  EXPECT_THAT(api.complaints(), IsEmpty());
}

TEST_F(RecordMenu, PassesOverAReadWithoutARecord) {
  api.answer(ApiCall::ReadRecord, {.null = true});
  EXPECT_EQ(output_of(read_record, "T1\n"), "Test ID: ");
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 0U);
}

TEST_F(RecordMenu, ReadsWhateverIdIsTyped) {
  output_of(read_record, "\n");
  output_of(read_record, "an ID of far more than thirty bytes\n");
  EXPECT_THAT(call_lines(), StartsWith("kvr_ReadRecord \"\" setting=1 record=null\n"));
  EXPECT_THAT(call_lines(),
              HasSubstr("kvr_ReadRecord \"an ID of far more than thirty bytes\" setting=1"));
}

// Deleting.

TEST_F(RecordMenu, DeletesARecordWithoutAsking) {
  EXPECT_EQ(output_of(delete_record, "T1\n"), "Test ID: Deleted!\n");
  EXPECT_EQ(call_lines(), "kvr_DeleteRecord \"T1\"\n");
}

TEST_F(RecordMenu, ReportsWhyARecordIsNotDeleted) {
  api.answer(ApiCall::DeleteRecord, {.result = KVR_RES_NO_PERMISSIONS});
  EXPECT_EQ(output_of(delete_record, "T1\n"), "Test ID: \nERROR: wording of code 47\n");
}

TEST_F(RecordMenu, AcceptsAPartlyFailedDeletion) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::DeleteRecord, {.result = result});
    EXPECT_EQ(output_of(delete_record, "T1\n"), "Test ID: Deleted!\n");
  }
}

const std::string kClear = "Do you want to clear tests database? (Y/N): ";

TEST_F(RecordMenu, ClearsTheStoreForOneY) {
  for (const char* const answer : {"Y", "y", "  y"}) {
    api.reset();
    const Console console(std::string(answer) + "\n");
    clear_database();
    EXPECT_EQ(console.output(), kClear + "Database has been reset!\n") << answer;
    EXPECT_EQ(call_lines(), "kvr_ClearTestDatabase\n");
  }
}

TEST_F(RecordMenu, ClearsNothingForAnyOtherAnswer) {
  for (const char* const answer : {"n", "N", "yes", "Yes", "YY", "Z", "0", "ny"}) {
    const Console console(std::string(answer) + "\n");
    clear_database();
    EXPECT_EQ(console.output(), kClear) << answer;
  }
  EXPECT_EQ(call_lines(), "");
}

TEST_F(RecordMenu, ReadsOneWordAndLeavesTheRestOfTheLine) {
  const Console console("\n\ny or n\n");
  clear_database();
  EXPECT_EQ(console.output(), kClear + "Database has been reset!\n");
  EXPECT_EQ(console.unread(), " or n\n");
}

TEST_F(RecordMenu, ClearsNothingAtTheEndOfInput) {
  const Console console("");
  clear_database();
  EXPECT_EQ(console.output(), kClear);
  EXPECT_EQ(call_lines(), "");
}

TEST_F(RecordMenu, ReportsWhyTheStoreIsNotCleared) {
  api.answer(ApiCall::ClearTestDatabase, {.result = KVR_RES_SECONDARY_SDCARD_READ_ONLY});
  const Console console("y\n");
  clear_database();
  EXPECT_EQ(console.output(), kClear + "\nERROR: wording of code 38\n");
}

TEST_F(RecordMenu, AcceptsAPartlyFailedClearing) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::ClearTestDatabase, {.result = result});
    const Console console("y\n");
    clear_database();
    EXPECT_EQ(console.output(), kClear + "Database has been reset!\n");
  }
}

TEST_F(RecordMenu, IsVisibleWhereItAsks) {
  const Console console("y\n");
  std::string seen;
  api.answer(ApiCall::ClearTestDatabase, {.meanwhile = [&] { seen = console.visible_output(); }});
  clear_database();
  EXPECT_EQ(seen, kClear);
}

}  // namespace

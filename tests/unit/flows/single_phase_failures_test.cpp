#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>

#include "common/errors.h"
#include "console/stop_handling.h"
#include "flows/run_files.h"
#include "support/flow_test.h"
#include "unit/flows/single_phase_dialogue.h"

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// Failures.

TEST_F(SinglePhase, EndsASeriesAtTheThirdOfSixTests) {
  api.answer(ApiCall::Test_Ratio_1ph, {});
  api.answer(ApiCall::Test_Ratio_1ph, {});
  api.answer(ApiCall::Test_Ratio_1ph, {.result = KVR_RES_OPERATION_CANCELLED});
  const std::string file = results.prefix() + "1.2-T1.csv";
  EXPECT_EQ(run("2\nZ\n\nT1\n"), "Saved data to " + file +
                                     "Testing at voltage: 47\n"
                                     "Tests left: 5\n"
                                     "\n"
                                     "\n"
                                     "Testing at voltage: 36\n"
                                     "Tests left: 4\n"
                                     "\n"
                                     "\n"
                                     "Testing at voltage: 24\n"
                                     "Tests left: 3\n"
                                     "\n"
                                     "ERROR: wording of code 7\n"
                                     "ERROR in last testSaved RAW data to " +
                                     file + ".RAW.csv");
  EXPECT_EQ(api.count(ApiCall::Test_Ratio_1ph), 3U);
  EXPECT_EQ(results.read("1.2-T1.csv"),
            series_head(kSinglePhaseColumns) +
                "T1;DOWN;47.00000000;47.00000000;2.93750000;16.00000000;0.25000000;0.12500000;"
                "47.00000000;" +
                kRowEnd +
                "T1;DOWN;36.00000000;36.00000000;2.25000000;16.00000000;0.25000000;0.12500000;"
                "36.00000000;" +
                kRowEnd);
  EXPECT_EQ(results.read("1.2-T1.csv.RAW.csv"), "raw data of T1\nraw data of T1\n");
  EXPECT_THAT(clock.sleeps_ms(), ElementsAre(1000, 1000));
  EXPECT_EQ(api.count(ApiCall::UnlockAPI), 1U);
  EXPECT_EQ(run_file_name, "kvr");
  expect_nothing_kept();
}

TEST_F(SinglePhase, LeavesANamelessRawFileAfterAFailedSingleTest) {
  api.answer(ApiCall::Test_Ratio_1ph, {.result = KVR_RES_OPEN_LEAD});
  EXPECT_EQ(run("1\n8\n\nT1\n"),
            "Testing at voltage: 8\n"
            "Tests left: 0\n"
            "\n"
            "ERROR: wording of code 30\n"
            "ERROR in last testSaved RAW data to .RAW.csv");
  EXPECT_EQ(working_folder.read(".RAW.csv"), "");
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(api.count(ApiCall::UnlockAPI), 1U);
}

TEST_F(SinglePhase, FailsWithoutARecordWhateverTheCode) {
  for (const std::int32_t result : {0, 44, 76}) {
    api.answer(ApiCall::Test_Ratio_1ph, {.result = result, .null = true});
    EXPECT_EQ(run("1\n8\n\nT1\n"),
              "Testing at voltage: 8\n"
              "Tests left: 0\n"
              "ERROR in last testSaved RAW data to .RAW.csv");
  }
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 0U);
  EXPECT_EQ(api.count(ApiCall::CodeToString), 0U);
}

TEST_F(SinglePhase, LeavesTheRecordOfARefusedTestAlone) {
  api.answer(ApiCall::Test_Ratio_1ph,
             {.result = KVR_RES_DISK_FULL, .record = gives("record_id = T1\n")});
  EXPECT_THAT(run("1\n8\n\nT1\n"), HasSubstr("ERROR in last test"));
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 0U);
  EXPECT_EQ(api.records_handed_out(), 1U);
}

TEST_F(SinglePhase, TakesATestWithPartOfItsResult) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::Test_Ratio_1ph, {.result = result});
    EXPECT_THAT(run("1\n8\n\nT1\n"), Not(HasSubstr("ERROR")));
  }
  EXPECT_TRUE(fs::exists(results.path() / "T1.csv"));
  expect_nothing_kept();
}

TEST_F(SinglePhase, RunsNothingForAnEmptyPlan) {
  EXPECT_EQ(run("1\n10x0\n\nT1\n"), "Saved RAW data to .RAW.csv");
  EXPECT_EQ(call_lines(),
            "kvr_CheckRecordExists \"T1\" exists=false\nkvr_LockAPI\nkvr_UnlockAPI\n");
  EXPECT_EQ(working_folder.read(".RAW.csv"), "");
  EXPECT_TRUE(results.empty());
}

TEST_F(SinglePhase, LocksWhateverTheLibrarySays) {
  api.answer(ApiCall::LockAPI, {.result = KVR_RES_API_LOCKED});
  api.answer(ApiCall::UnlockAPI, {.result = KVR_RES_API_UNLOCKED});
  api.answer(ApiCall::FreeTestRecord, {.result = KVR_RES_INTERNAL_ERROR});
  EXPECT_THAT(run("1\n8\n\nT1\n"), Not(HasSubstr("ERROR")));
}

TEST_F(SinglePhase, UnlocksOnceWhenAnExceptionEndsTheRun) {
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = " + std::string(30, 'T') +
                                                       "\ntest_type = 1\ndata_count = 1\n"
                                                       "data_ratio_1ph[0].test_voltage = 8\n")});
  const Console console("1\n8x3\n\nT1\n");
  try {
    Single_Phase();
    FAIL() << "no exception";
  } catch (const kvr_exception& error) {
    EXPECT_EQ(error.code, KVR_RES_TEXT_TOO_LONG);
    EXPECT_THAT(error.what(), testing::StartsWith("copy_safe_internal "));
  }
  EXPECT_EQ(call_lines(),
            "kvr_CheckRecordExists \"T1\" exists=false\n"
            "kvr_LockAPI\n"
            "kvr_Test_Ratio_1ph progress_callback=set progress_context=null record=null\n"
            "kvr_FreeTestRecord record=1 \"" +
                std::string(30, 'T') +
                "\"\n"
                "kvr_UnlockAPI\n");
  // The program ends there: the first test's row must be on the disk, and all output visible.
  EXPECT_THAT(results.read("1.2-T1.csv"),
              EndsWith(std::string(30, 'T') + ";DOWN;8.00000000;0.00000000;0.00000000;"
                                              "0.00000000;0.00000000;0.00000000;0.00000000;"
                                              "0.000000;0.000000;0.000000;0.000000;\n"));
  EXPECT_FALSE(fs::exists(results.path() / "1.2-T1.csv.RAW.csv"));
  EXPECT_THAT(console.visible_output(), EndsWith("Testing at voltage: 8\nTests left: 1\n"));
}

const TemporaryFolder* folder_at_the_end = nullptr;

[[noreturn]] void tell_series_file_and_leave() {
  std::cerr << folder_at_the_end->read("1.2-T1.csv");
  const fs::path working_folder = fs::current_path();
  fs::current_path(working_folder.parent_path());
  fs::remove_all(working_folder);
  fs::remove_all(folder_at_the_end->path());
  std::_Exit(0);
}

// The exception ends the program where it is thrown: no stack is unwound, so nothing writes what is
// still in the file's buffer.
TEST_F(SinglePhase, HasWrittenItsRowsWhereAnExceptionEndsTheProgram) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = " + std::string(30, 'T') +
                                                       "\ntest_type = 1\ndata_count = 1\n"
                                                       "data_ratio_1ph[0] = null\n")});
  EXPECT_EXIT(
      {
        folder_at_the_end = &results;
        std::set_terminate(tell_series_file_and_leave);
        const Console console("1\n8x3\n\nT1\n");
        std::thread(Single_Phase).join();
      },
      testing::ExitedWithCode(0), testing::Eq(series_head(kSinglePhaseColumns)));
}

TEST_F(SinglePhase, TakesAnIdThatFillsItsFieldAtTheLastTest) {
  api.answer(ApiCall::Test_Ratio_1ph,
             {.record = gives("record_id = " + std::string(30, 'T') + "\n")});
  run("1\n8\n\nT1\n");
  EXPECT_TRUE(fs::exists(results.path() / (std::string(30, 'T') + ".csv")));
}

TEST_F(SinglePhase, UnlocksAndShowsWhatItSaidWhenTheResultCannotBeRendered) {
  api.answer(ApiCall::Test_Ratio_1ph,
             {.record = gives("record_id = T1\ntest_type = 1\nsetup.connection_type = 9\n")});
  const Console console("1\n8\n\nT1\n");
  EXPECT_THROW(Single_Phase(), kvr_exception);
  EXPECT_EQ(api.count(ApiCall::LockAPI), 1U);
  EXPECT_EQ(api.count(ApiCall::UnlockAPI), 1U);
  EXPECT_THAT(console.output(), HasSubstr("Testing"));
  EXPECT_EQ(console.visible_output(), console.output());
}

// RAW data.

TEST_F(SinglePhase, WithoutRawDataWritesNoRawFile) {
  raw_data_enabled = false;
  EXPECT_THAT(run("1\n8x2\n\nT1\n"), Not(HasSubstr("RAW")));
  EXPECT_FALSE(fs::exists(results.path() / "1.2-T1.csv.RAW.csv"));
  api.answer(ApiCall::Test_Ratio_1ph, {.result = KVR_RES_OPEN_LEAD});
  run("1\n8\n\nT2\n");
  EXPECT_TRUE(working_folder.empty());
}

TEST_F(SinglePhase, AddsNothingAfterAMissingRawText) {
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\nraw_data = one\n")});
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\n")});
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\nraw_data = three\n")});
  run("1\n8x3\n\nT1\n");
  EXPECT_EQ(results.read("1.2-T1.csv.RAW.csv"), "one");
}

TEST_F(SinglePhase, JoinsRawTextsWithNothingBetween) {
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\nraw_data = one\n")});
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\nraw_data = \n")});
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\nraw_data = three\n")});
  run("1\n8x3\n\nT1\n");
  EXPECT_EQ(results.read("1.2-T1.csv.RAW.csv"), "onethree");
}

TEST_F(SinglePhase, LosesFilesSilentlyExceptForTheReport) {
  results_folder = results.prefix() + "no such folder/";
  const std::string series = results_folder + "1.2-T1.csv";
  EXPECT_THAT(run("1\n8x2\n\nT1\n"), testing::StartsWith("Saved data to " + series + "Testing"));
  EXPECT_THAT(run("1\n8\n\nT1\n"),
              HasSubstr("WARNING: Could not open file for write: " + results_folder + "T1.csv\n"));
  EXPECT_TRUE(results.empty());
}

TEST_F(SinglePhase, AppendsToTheReportOfAnEarlierTest) {
  run("1\n8\n\nT1\n");
  const std::string first = results.read("T1.csv");
  run("1\n8\n\nT1\n");
  EXPECT_EQ(results.read("T1.csv"), first + first.substr(std::string("sep=;").size()));
}

// Events from outside while a test runs.

TEST_F(SinglePhase, EndsWhenTheOperatorCancels) {
  api.answer(ApiCall::Test_Ratio_1ph, {.result = KVR_RES_OPERATION_CANCELLED,
                                       .meanwhile = [] { stop_or_terminate(0); },
                                       .until_cancelled = true});
  const Console console("1\n8\n\nT1\n");
  Single_Phase();
  ASSERT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\n"));
  EXPECT_THAT(console.output(), HasSubstr("Cancelling current operation...\n"));
  EXPECT_THAT(console.output(), HasSubstr("wording of code 7\n"));  // lines of two threads
  EXPECT_THAT(console.output(), HasSubstr("ERROR in last test"));
  EXPECT_TRUE(stop_signal_seen);  // until the main menu is shown again
  EXPECT_EQ(api.count(ApiCall::UnlockAPI), 1U);
}

}  // namespace

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "console/stop_handling.h"
#include "flows/run_files.h"
#include "support/flow_test.h"
#include "unit/flows/single_phase_dialogue.h"

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

// How tests are kept.

TEST_F(SinglePhase, KeepsASeriesInOneRecord) {
  run("1\nA\n\nT1\n");
  EXPECT_THAT(save_modes(), ElementsAre(1, 2, 2, 2, 2, 2));
  EXPECT_THAT(test_ids(), ElementsAre("T1", "T1", "T1", "T1", "T1", "T1"));
}

TEST_F(SinglePhase, FindsTheRecordThatTheLibraryNamed) {
  run("1\n10x3\n\n\n");
  EXPECT_THAT(save_modes(), ElementsAre(3, 2, 2));
  EXPECT_THAT(test_ids(), ElementsAre("", "AUTO-1", "AUTO-1"));
}

TEST_F(SinglePhase, FollowsTheRecordFromTestToTest) {
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = other\n")});
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("")});
  run("1\n10x3\n\nT1\n");
  EXPECT_THAT(test_ids(), ElementsAre("T1", "other", ""));
  EXPECT_THAT(save_modes(), ElementsAre(1, 2, 3));
}

TEST_F(SinglePhase, KeepsNothingWhereTheStoreCannotBeWritten) {
  device_status.secondary_sd_read_only = 1;
  run("1\n10x2\n\nT1\n");
  EXPECT_THAT(save_modes(), ElementsAre(3, 3));
  EXPECT_THAT(test_ids(), ElementsAre("T1", "T1"));
}

TEST_F(SinglePhase, KeepsNothingWithoutADatabase) {
  device_status.database_loaded = 0;
  run("1\n10x2\n\nT1\n");
  EXPECT_THAT(save_modes(), ElementsAre(3, 3));
}

TEST_F(SinglePhase, DoesNotAskForTheStatusItself) {
  run("1\n10x2\n\nT1\n");
  EXPECT_EQ(api.count(ApiCall::GetStatus), 0U);
}

// Series.

TEST_F(SinglePhase, OfASeriesOfThree) {
  const std::string file = results.prefix() + "1.2-T1.csv";
  const std::string output = run("2\n8x3\n4\nT1\n");
  EXPECT_EQ(output, "Saved data to " + file +
                        "Testing at voltage: 8\n"
                        "Tests left: 2\n"
                        "\n"
                        "\n"
                        "Testing at voltage: 8\n"
                        "Tests left: 1\n"
                        "\n"
                        "\n"
                        "Testing at voltage: 8\n"
                        "Tests left: 0\n"
                        "\n" +
                        text_of(*ratio_1ph_record("T1", request(2))) +
                        "\n"
                        "Saved RAW data to " +
                        file + ".RAW.csv");
  const std::string row =
      "T1;DOWN;8.00000000;8.00000000;0.50000000;16.00000000;0.25000000;0.12500000;8.00000000;" +
      std::string(kRowEnd);
  EXPECT_EQ(results.read("1.2-T1.csv"), series_head(kSinglePhaseColumns) + row + row + row);
  EXPECT_EQ(results.read("1.2-T1.csv.RAW.csv"), "raw data of T1\nraw data of T1\nraw data of T1\n");
  EXPECT_FALSE(fs::exists(results.path() / "T1.csv"));
  EXPECT_TRUE(working_folder.empty());
  EXPECT_THAT(clock.sleeps_ms(), ElementsAre(1000, 1000, 1000));
  expect_nothing_kept();
}

TEST_F(SinglePhase, PausesAfterTheRecordIsFreed) {
  std::size_t given_back = 0;
  clock.on_sleep = [&](const timespec*, timespec*) {
    EXPECT_EQ(api.records_given_back(), ++given_back);
    return 0;
  };
  run("1\n10x3\n\nT1\n");
  EXPECT_EQ(given_back, 3U);
}

TEST_F(SinglePhase, ShowsWhatItSaidBeforeItPauses) {
  clock.on_sleep = [&](const timespec*, timespec*) {
    const auto& output = dynamic_cast<CapturedOutput&>(*std::cout.rdbuf());
    EXPECT_THAT(output.text(), testing::EndsWith("\n\n"));
    EXPECT_EQ(output.flushed_text(), output.text());
    return 0;
  };
  run("1\n10x3\n\nT1\n");
  EXPECT_EQ(clock.sleeps.size(), 3U);
}

// A signal ends a series through the test that it cancels; in a pause there is none.
TEST_F(SinglePhase, PausesToTheEndThroughAStopSignal) {
  clock.on_sleep = [&](const timespec*, timespec* remainder) {
    if (clock.sleeps.size() != 2) {
      return 0;
    }
    CtrlHandler(0);
    *remainder = {0, 600'000'000};
    errno = EINTR;
    return -1;
  };
  stop_handler = [](int) { stop_signal_seen = true; };
  run("1\n10x3\n\nT1\n");
  EXPECT_TRUE(stop_signal_seen);
  EXPECT_THAT(clock.sleeps_ms(), ElementsAre(1000, 1000, 600, 1000));
  EXPECT_EQ(api.count(ApiCall::Test_Ratio_1ph), 3U);
}

TEST_F(SinglePhase, OfASeriesWithoutATestId) {
  run("1\n8x2\n\n\n");
  const std::string name = "1.2-range-test-15-03-2021 12-00-00.csv";
  EXPECT_THAT(results.read(name),
              testing::StartsWith(series_head(kSinglePhaseColumns) + "AUTO-1;UP;"));
  EXPECT_EQ(results.read(name + ".RAW.csv"), "raw data of AUTO-1\nraw data of AUTO-1\n");
}

TEST_F(SinglePhase, OfAVoltageRepeatedOnceIsNoSeries) {
  run("1\n8x1\n\nT1\n");
  EXPECT_TRUE(fs::exists(results.path() / "T1.csv"));
  EXPECT_FALSE(fs::exists(results.path() / "1.2-T1.csv"));
  EXPECT_THAT(clock.sleeps, IsEmpty());
}

TEST_F(SinglePhase, OfManyResultsInOneTestIsNoSeries) {
  api.answer(ApiCall::Test_Ratio_1ph,
             {.record = gives("record_id = T1\ntest_type = 1\ndata_count = 2\n"
                              "data_ratio_1ph[1].direction = 1\n")});
  run("1\n8\n\nT1\n");
  EXPECT_FALSE(fs::exists(results.path() / "1.2-T1.csv"));
}

TEST_F(SinglePhase, WritesNoRowForATestWithoutResults) {
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\n")});
  api.answer(ApiCall::Test_Ratio_1ph, {.record = gives("record_id = T1\ndata_count = 2\n")});
  run("1\n8x2\n\nT1\n");
  EXPECT_EQ(results.read("1.2-T1.csv"), series_head(kSinglePhaseColumns));
}

TEST_F(SinglePhase, ShowsVoltagesWithTwoDigits) {
  std::string shown;
  for (const char* const voltage : {"12.5", "100", "0.123", "47", "250", "-5"}) {
    const std::string output = run("1\n" + std::string(voltage) + "\n\nT1\n");
    shown += output.substr(0, output.find('\n') + 1);
  }
  EXPECT_EQ(shown,
            "Testing at voltage: 12\n"
            "Testing at voltage: 1e+02\n"
            "Testing at voltage: 0.12\n"
            "Testing at voltage: 47\n"
            "Testing at voltage: 2.5e+02\n"
            "Testing at voltage: -5\n");
}

TEST_F(SinglePhase, SetsThePrecisionAgainForEachTest) {
  api.answer(ApiCall::Test_Ratio_1ph, {.meanwhile = [] { std::cout.precision(6); }});
  EXPECT_THAT(run("1\n12.25x2\n\nT1\n"), HasSubstr("\nTesting at voltage: 12\nTests left: 0\n"));
}

TEST_F(SinglePhase, IsVisibleWhileATestRuns) {
  const Console console("1\n8x2\n\nT1\n");
  std::vector<std::string> seen;
  const ScriptedAnswer look = {.meanwhile = [&] { seen.push_back(console.visible_output()); }};
  api.answer(ApiCall::Test_Ratio_1ph, look);
  api.answer(ApiCall::Test_Ratio_1ph, look);
  Single_Phase();
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_THAT(seen[0], EndsWith("Testing at voltage: 8\nTests left: 1\n"));
  EXPECT_THAT(seen[1], EndsWith("Testing at voltage: 8\nTests left: 0\n"));
}

TEST_F(SinglePhase, NamesItsFileWhileItRuns) {
  std::vector<std::string> names;
  const auto note = [&] { names.push_back(run_file_name); };
  api.answer(ApiCall::LockAPI, {.meanwhile = note});
  api.answer(ApiCall::Test_Ratio_1ph, {.meanwhile = note});
  api.answer(ApiCall::FreeTestRecord, {.meanwhile = note});
  api.answer(ApiCall::UnlockAPI, {.meanwhile = note});
  run("1\n8\n\nT1\n");
  const std::string report = results.prefix() + "T1.csv";
  EXPECT_THAT(names, ElementsAre("kvr", "kvr", report, "kvr"));
  EXPECT_EQ(run_file_name, "kvr");
}

TEST_F(SinglePhase, NamesItsSeriesFileFromTheBeginning) {
  std::vector<std::string> names;
  const auto note = [&] { names.push_back(run_file_name); };
  api.answer(ApiCall::LockAPI, {.meanwhile = note});
  api.answer(ApiCall::FreeTestRecord, {.meanwhile = note});
  api.answer(ApiCall::UnlockAPI, {.meanwhile = note});
  run("1\n8x2\n\nT1\n");
  const std::string series = results.prefix() + "1.2-T1.csv";
  EXPECT_THAT(names, ElementsAre(series, series, "kvr"));
}

}  // namespace

#include "flows/single_phase.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "common/errors.h"
#include "console/callbacks.h"
#include "console/stop_handling.h"
#include "flows/run_files.h"
#include "support/flow_test.h"

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kMenu =
    "\nChoose Measurement Type\n"
    "1. Auto Test 1 Ph\n"
    "2. Ratio 1 Ph Step DOWN\n"
    "3. Ratio 1 Ph Step UP\n"
    "5. CT Test 1 Ph\n"
    "0. Exit\n";
const std::string kSides =
    "Hi Side connection:\n"
    "1. Ratio Phase H1-H2\n"
    "2. Ratio Phase H2-H3\n"
    "3. Ratio Phase H3-H1\n"
    "4. Ratio Phase H1-H0\n"
    "5. Ratio Phase H2-H0\n"
    "6. Ratio Phase H3-H0\n"
    "Low Side connection:\n"
    "1. Ratio Phase X1-X2\n"
    "2. Ratio Phase X2-X3\n"
    "3. Ratio Phase X3-X1\n"
    "4. Ratio Phase X1-X0\n"
    "5. Ratio Phase X2-X0\n"
    "6. Ratio Phase X3-X0\n";
const std::string kVoltages =
    "Enter Test Voltage \n"
    " empty for 8V,\n"
    "'A' - ascending  test, Z - descending auto test\n"
    "10x5 - auto repeating (VxN - test N times at V voltage))\n";
const std::string kRatio = "Nameplate ratio N:1 (leave empty for none): ";
const std::string kTestId = "Test ID (leave empty for date/time): ";

class SinglePhase : public FlowTest {
 protected:
  SinglePhase() { device_info.instrument_type = 2; }  // no question for the sides

  /// What the flow writes after its questions.
  std::string run(const std::string& answers) {
    const Console console(answers);
    Single_Phase();
    const std::string questions = kMenu + kVoltages + kRatio + kTestId;
    EXPECT_TRUE(console.output().starts_with(questions)) << console.output();
    EXPECT_EQ(console.unread(), "");
    return console.output().substr(std::min(questions.size(), console.output().size()));
  }
  std::vector<std::int32_t> save_modes() const {
    std::vector<std::int32_t> modes;
    for (const SeenCall& call : api.seen(ApiCall::Test_Ratio_1ph)) {
      modes.push_back(call.head.save_mode);
    }
    return modes;
  }
  std::vector<std::string> test_ids() const {
    std::vector<std::string> ids;
    for (const SeenCall& call : api.seen(ApiCall::Test_Ratio_1ph)) {
      ids.emplace_back(call.head.record_id);
    }
    return ids;
  }
  kvr_Ratio1phRequest request(std::size_t test) const {
    kvr_Ratio1phRequest request;
    const Bytes body = api.seen(ApiCall::Test_Ratio_1ph).at(test).body;
    std::memcpy(&request, body.data(), sizeof request);
    return request;
  }
  std::string body_rows(std::size_t test = 0) const {
    return byte_rows(api.seen(ApiCall::Test_Ratio_1ph).at(test).body);
  }
  void expect_nothing_kept() const { EXPECT_THAT(api.complaints(), IsEmpty()); }
};

// The dialogue.

TEST_F(SinglePhase, ReturnsForAChoiceBeyondItsItems) {
  for (const char* const choice : {"0\n", "6\n", "-1\n", "13\n"}) {
    const Console console(choice);
    Single_Phase();
    EXPECT_EQ(console.output(), kMenu);
  }
  EXPECT_EQ(call_lines(), "");
}

TEST_F(SinglePhase, AsksForTheSidesOfAnInstrumentOfTypeZeroOrOne) {
  for (const std::int32_t type : {0, 1}) {
    device_info.instrument_type = type;
    const Console console("1\n3\n6\n10x0\n\nT1\n");
    Single_Phase();
    EXPECT_THAT(console.output(),
                testing::StartsWith(kMenu + kSides + kVoltages + kRatio + kTestId));
  }
}

TEST_F(SinglePhase, AsksForNoSidesOfAnyOtherInstrument) {
  for (const std::int32_t type : {2, 3, 999, 1001, -1}) {
    device_info.instrument_type = type;
    run("1\n10x0\n\nT1\n");
  }
}

TEST_F(SinglePhase, RefusesAnInstrumentOfAnUndefinedType) {
  device_info.instrument_type = 1000;
  const Console console("1\n8\n");
  try {
    Single_Phase();
    FAIL() << "no exception";
  } catch (const kvr_exception& error) {
    EXPECT_EQ(error.code, 128);
    EXPECT_EQ(error.codeType, kLogged);
    EXPECT_STREQ(error.what(), "Single_Phase undefined instrument type");
    EXPECT_EQ(last_exception_message(), "undefined instrument type");
  }
  EXPECT_EQ(console.output(), kMenu);
  EXPECT_EQ(console.unread(), "8\n");
  EXPECT_EQ(call_lines(), "");
}

TEST_F(SinglePhase, RefusesAnUndefinedTypeOnlyForAMeasurement) {
  device_info.instrument_type = 1000;
  const Console console("0\n");
  EXPECT_NO_THROW(Single_Phase());
}

TEST_F(SinglePhase, OfOneTestWithAllItsCalls) {
  device_info.instrument_type = 0;
  api.answer(ApiCall::Test_Ratio_1ph, {.progress = {{1, 2}, {2, 2}}});
  api.on_call = [](const SeenCall& call) { std::cout << '[' << call.line << "]\n"; };
  const Console console("1\n2\n5\n12.5\n10.5\nT1\n");
  Single_Phase();

  const std::string text = text_of(*ratio_1ph_record("T1", request(0)));
  const std::string report = results.prefix() + "T1.csv";
  EXPECT_EQ(console.output(),
            kMenu + kSides + kVoltages + kRatio + kTestId +
                "[kvr_CheckRecordExists \"T1\" exists=false]\n"
                "[kvr_LockAPI]\n"
                "Testing at voltage: 12\n"
                "Tests left: 0\n"
                "[kvr_Test_Ratio_1ph progress_callback=set progress_context=null record=null]\n"
                "progress: 1/2\n"
                "progress: 2/2\n"
                "\n" +
                text +
                "[kvr_FreeTestRecord record=1 \"T1\"]\n"
                "\n"
                "Saved RAW data to " +
                report + ".RAW.csv[kvr_UnlockAPI]\n");
  expect_nothing_kept();

  std::string table = text;
  std::replace(table.begin(), table.end(), '=', ';');
  EXPECT_EQ(results.read("T1.csv"),
            "sep=;\n"
            "Serial #:;SN-0042\n"
            "S/W version;1.2\n"
            "Date & Time;Mon Mar 15 12:00:00 2021\n"
            "\n" +
                table);
  EXPECT_EQ(results.read("T1.csv.RAW.csv"), "raw data of T1\n");
  EXPECT_TRUE(working_folder.empty());
  EXPECT_THAT(clock.sleeps, IsEmpty());
}

// The request on the library's side.

/// The expected body of a single-phase request, byte by byte.
std::string expected_body(std::int32_t test_type, std::int32_t high, std::int32_t low, float ratio,
                          unsigned raw, float voltage) {
  return byte_rows(bytes_of(456, {
                                     i32(0, test_type),
                                     i32(4, high),
                                     i32(8, low),
                                     i32(12, 0),
                                     i32(16, 0),
                                     i32(20, 0),               // windings[0].winding_type
                                     f32(20 + 40, ratio),      // windings[0].voltage
                                     i32(20 + 84, 1),          // of windings[0]
                                     i32(20 + 92, 0),          // windings[1].winding_type
                                     f32(20 + 92 + 40, 1.0F),  // windings[1].voltage
                                     f32(20 + 92 + 48, 0.0F),  // windings[1].phase_shift
                                     i32(20 + 92 + 84, 1),     // of windings[1]
                                     i32(20 + 184 + 84, 1),    // of windings[2]
                                     i32(20 + 308, 0),         // connection_type
                                     i32(20 + 312, 100),       // connections[0].clock
                                     i32(20 + 372, 60),        // line_frequency
                                     i32(20 + 376, 0),         // setup_value_a
                                     i32(20 + 388, 1),         // setup_value_b
                                     f32(20 + 396, 20.0F),     // temperature_from
                                     f32(20 + 400, 75.0F),     // temperature_to
                                     f32(20 + 404, 100.0F),    // setup_value_c
                                     f32(20 + 408, 1.0F),      // setup_value_d
                                     u8(20 + 412, 1),          // setup_flag_a
                                     u8(20 + 413, raw),        // raw_data_requested
                                     u8(20 + 416, 1),          // setup_flag_b
                                     f32(440, voltage),        // test_voltage
                                     u8(444, 1),               // request_flag_a
                                     u8(445, 0),               // request_flag_b
                                     f32(448, 0.5F),           // limit_a
                                     f32(452, 0.00872665F),    // limit_b
                                 }));
}

TEST_F(SinglePhase, SendsTheAnswersInItsRequest) {
  device_info.instrument_type = 1;
  const Console console("3\n2\n5\n47\n12.1\nT1\n");
  Single_Phase();
  EXPECT_EQ(body_rows(), expected_body(2, 2, 5, 12.1F, 1, 47.0F));
  EXPECT_EQ(byte_rows(bytes_of(api.seen(ApiCall::Test_Ratio_1ph).at(0).head)),
            byte_rows(bytes_of(100, {text_at(60, "T1"), i32(92, 1)})));
}

TEST_F(SinglePhase, SendsDefaultsForEmptyAnswers) {
  raw_data_enabled = false;
  run("5\n\n\n\n");
  EXPECT_EQ(body_rows(), expected_body(5, 1, 1, 0.0F, 0, 8.0F));
  EXPECT_EQ(byte_rows(bytes_of(api.seen(ApiCall::Test_Ratio_1ph).at(0).head)),
            byte_rows(bytes_of(100, {i32(92, 3)})));
}

TEST_F(SinglePhase, SendsTheTestTypeOfTheChoice) {
  const std::pair<std::string, std::int32_t> kTypes[] = {
      {"1", 4}, {"2", 1}, {"3", 2}, {"4", 1}, {"5", 5}};
  for (const auto& [choice, type] : kTypes) {
    api.reset();
    run(choice + "\n8\n\nT1\n");
    EXPECT_EQ(body_rows(), expected_body(type, 1, 1, 0.0F, 1, 8.0F)) << choice;
  }
}

TEST_F(SinglePhase, SendsPairOneForASideAnsweredWrong) {
  device_info.instrument_type = 0;
  const Console console("1\n7\n0\n8\n\nT1\n");
  Single_Phase();
  EXPECT_EQ(body_rows(), expected_body(4, 1, 1, 0.0F, 1, 8.0F));
}

TEST_F(SinglePhase, ChangesOnlyTheVoltageFromTestToTest) {
  run("1\nA\n5\nT1\n");
  const float kAscending[] = {3.0F, 6.0F, 12.0F, 24.0F, 36.0F, 47.0F};
  for (std::size_t test = 0; test < 6; ++test) {
    EXPECT_EQ(body_rows(test), expected_body(4, 1, 1, 5.0F, 1, kAscending[test]));
  }
}

TEST_F(SinglePhase, PassesItsProgressCallbackAndAClearedPointer) {
  run("1\n10x2\n\nT1\n");
  for (const SeenCall& call : api.seen(ApiCall::Test_Ratio_1ph)) {
    EXPECT_EQ(call.handler.progress_callback, &on_progress);
    EXPECT_EQ(call.handler.progress_context, nullptr);
    EXPECT_TRUE(call.record_was_null);
  }
}

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

const char* const kRowEnd = "28.647890;14.323945;14.323945;0.000000;\n";

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

#include "flows/single_phase.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>
#include <string>

#include "common/errors.h"
#include "console/callbacks.h"
#include "flows/run_files.h"
#include "support/flow_test.h"
#include "unit/flows/single_phase_dialogue.h"

namespace {

using testing::IsEmpty;

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

}  // namespace

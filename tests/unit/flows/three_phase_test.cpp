#include "flows/three_phase.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "common/errors.h"
#include "console/callbacks.h"
#include "flows/requests.h"
#include "flows/run_files.h"
#include "support/flow_test.h"

namespace {

namespace fs = std::filesystem;

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string kMenu =
    "\nChoose Measurement Type\n"
    "1. Auto Test 3 Ph\n"
    "2. Ratio 3 Ph Step DOWN\n"
    "3. Ratio 3 Ph Step UP\n"
    "\n"
    "13. Median Filter Auto Test\n"
    "0. Exit\n";
const std::string kMethods =
    "Select test method: \n"
    "1. AUTO\n"
    "2. Excite 3ph, measure 1ph\n"
    "3. Excite 1ph, measure 1ph\n"
    "4. Excite 3ph, measure 3ph\n"
    "5. Simulate test\n"
    "6. Test ALL modes: 3-3, 3-1, 1-1\n";
const std::string kWindings = "1. D\n2. Y\n3. Yn\n4. Z\n5. Zn\n";
const std::string kMetering =
    "Select metering HV: \n" + kWindings + "Select metering LV: \n" + kWindings;
const std::string kPhasing =
    "Enter phasing (0-11) or angle (15d for absolute shift, 15 deg), empty for unknown: \n";
const std::string kVoltages =
    "Enter Test Voltage \n"
    " empty for 8V,\n"
    "'A' - ascending  test, Z - descending auto test\n"
    "10x5 - auto repeating (VxN - test N times at V voltage))\n";
const std::string kRatio = "Nameplate ratio N:1 (leave empty for none): ";
const std::string kTestId = "Test ID (leave empty for date/time): ";
const std::string kLastQuestions = kPhasing + kVoltages + kRatio;

/// The expected body of a three-phase request, byte by byte; by default of the simplest test.
struct ExpectedBody {
  std::int32_t testing_mode = 5;
  std::int32_t test_type = 4;
  std::int32_t winding_h = 1;
  std::int32_t winding_x = 1;
  std::int32_t clock = 100;
  float phase_shift = 0.0F;
  float ratio = 0.0F;
  float voltage = 8.0F;
  unsigned raw = 1;

  std::string rows() const {
    return byte_rows(bytes_of(448, {
                                       i32(0, winding_h),          // windings[0].winding_type
                                       f32(40, ratio),             // windings[0].voltage
                                       i32(84, 1),                 // of windings[0]
                                       i32(92, winding_x),         // windings[1].winding_type
                                       f32(92 + 40, 1.0F),         // windings[1].voltage
                                       f32(92 + 48, phase_shift),  // windings[1].phase_shift
                                       i32(92 + 84, 1),            // of windings[1]
                                       i32(184 + 84, 1),           // of windings[2]
                                       i32(308, 0),                // connection_type
                                       i32(312, clock),            // connections[0].clock
                                       i32(372, 60),               // line_frequency
                                       i32(376, 0),                // setup_value_a
                                       i32(388, 1),                // setup_value_b
                                       f32(396, 20.0F),            // temperature_from
                                       f32(400, 75.0F),            // temperature_to
                                       f32(404, 100.0F),           // setup_value_c
                                       f32(408, 1.0F),             // setup_value_d
                                       u8(412, 1),                 // setup_flag_a
                                       u8(413, raw),               // raw_data_requested
                                       u8(416, 1),                 // setup_flag_b
                                       i32(420, testing_mode),     //
                                       i32(424, test_type),        //
                                       i32(428, 100),              // tested_phase
                                       f32(432, voltage),          // test_voltage
                                       u8(436, 1),                 // request_flag_a
                                       u8(438, 0),                 // request_flag_b
                                       f32(440, 0.5F),             // limit_a
                                       f32(444, 0.00872665F),      // limit_b
                                   }));
  }
};

class ThreePhase : public FlowTest {
 protected:
  /// The output of a whole dialogue whose answers are all read.
  static std::string run(const std::string& answers) {
    const Console console(answers);
    three_phase_menu();
    EXPECT_EQ(console.unread(), "");
    return console.output();
  }
  /// The output after the questions.
  static std::string run_after(const std::string& questions, const std::string& answers) {
    const std::string output = run(answers);
    EXPECT_TRUE(output.starts_with(questions)) << output;
    return output.substr(std::min(questions.size(), output.size()));
  }
  std::vector<SeenCall> tests() const { return api.seen(ApiCall::Test_Ratio_3ph); }
  std::string body_rows(std::size_t test = 0) const { return byte_rows(tests().at(test).body); }
  std::string only_body_rows() const {
    EXPECT_EQ(tests().size(), 1U);
    return body_rows();
  }
  kvr_Ratio3phRequest request(std::size_t test) const {
    kvr_Ratio3phRequest request;
    std::memcpy(&request, tests().at(test).body.data(), sizeof request);
    return request;
  }
  std::vector<std::int32_t> save_modes() const {
    std::vector<std::int32_t> modes;
    for (const SeenCall& call : tests()) {
      modes.push_back(call.head.save_mode);
    }
    return modes;
  }
  std::vector<float> voltages() const {
    std::vector<float> voltages;
    for (std::size_t test = 0; test < tests().size(); ++test) {
      voltages.push_back(request(test).test_voltage);
    }
    return voltages;
  }
};

// The menu.

TEST_F(ThreePhase, ReturnsForAChoiceBeyondItsTests) {
  for (const char* const choice : {"0\n", "13\n", "4\n", "-1\n"}) {
    EXPECT_EQ(run(choice), kMenu) << choice;
  }
  EXPECT_EQ(call_lines(), "");
}

TEST_F(ThreePhase, AsksAutoTestsForNoMethod) {
  EXPECT_THAT(run("1\n3\n2\n\n\n\nT1\n"),
              StartsWith(kMenu + kMetering + kLastQuestions + kTestId + "Testing at voltage: 8\n"));
  EXPECT_EQ(only_body_rows(), (ExpectedBody{.winding_h = 3, .winding_x = 2}.rows()));
}

TEST_F(ThreePhase, AsksStepTestsForTheirMethod) {
  EXPECT_THAT(run("2\n1\n1\n1\n\n\n\nT1\n"),
              StartsWith(kMenu + kMethods + kMetering + kLastQuestions + kTestId));
  EXPECT_EQ(only_body_rows(), (ExpectedBody{.test_type = 1}.rows()));
  api.reset();
  EXPECT_THAT(run("3\n1\n1\n1\n\n\n\nT1\n"),
              StartsWith(kMenu + kMethods + kMetering + kLastQuestions + kTestId));
  EXPECT_EQ(only_body_rows(), (ExpectedBody{.test_type = 2}.rows()));
}

TEST_F(ThreePhase, SendsTheMethodAsTestingMode) {
  const std::pair<std::string, std::int32_t> kModes[] = {{"1", 5}, {"2", 4}, {"3", 3}, {"4", 2},
                                                         {"5", 5}, {"0", 5}, {"7", 5}, {"-1", 5}};
  for (const auto& [method, mode] : kModes) {
    api.reset();
    run("2\n" + method + "\n1\n1\n\n\n\nT1\n");
    EXPECT_EQ(only_body_rows(), (ExpectedBody{.testing_mode = mode, .test_type = 1}.rows()))
        << method;
  }
}

TEST_F(ThreePhase, SendsTheWindings) {
  const std::pair<std::string, std::int32_t> kTypes[] = {{"1", 1}, {"2", 2}, {"3", 3},
                                                         {"4", 4}, {"5", 5}, {"9", 1}};
  for (const auto& [answer, type] : kTypes) {
    api.reset();
    run("1\n" + answer + "\n4\n\n\n\nT1\n");
    EXPECT_EQ(only_body_rows(), (ExpectedBody{.winding_h = type, .winding_x = 4}.rows()));
    api.reset();
    run("1\n4\n" + answer + "\n\n\n\nT1\n");
    EXPECT_EQ(only_body_rows(), (ExpectedBody{.winding_h = 4, .winding_x = type}.rows()));
  }
}

TEST_F(ThreePhase, SendsPhasingVoltageAndRatio) {
  run("1\n3\n1\n11\n47\n12.1\nT1\n");
  EXPECT_EQ(only_body_rows(),
            (ExpectedBody{.winding_h = 3, .clock = 11, .ratio = 12.1F, .voltage = 47.0F}.rows()));
  api.reset();
  run("1\n3\n1\n15d\n47\n\nT1\n");
  EXPECT_EQ(only_body_rows(),
            (ExpectedBody{.winding_h = 3, .clock = 0, .phase_shift = 0.261799388F, .voltage = 47.0F}
                 .rows()));
}

TEST_F(ThreePhase, SendsWhetherRawDataIsWanted) {
  raw_data_enabled = false;
  EXPECT_THAT(run("1\n1\n1\n\n\n\nT1\n"), Not(HasSubstr("RAW")));
  EXPECT_EQ(only_body_rows(), (ExpectedBody{.raw = 0}.rows()));
}

TEST_F(ThreePhase, DoesNotLookAtTheTypeOfTheInstrument) {
  device_info.instrument_type = 1000;
  EXPECT_NO_THROW(run("1\n1\n1\n\n\n\nT1\n"));
  EXPECT_EQ(tests().size(), 1U);
}

TEST_F(ThreePhase, OfOneTestWithAllItsCalls) {
  api.answer(ApiCall::Test_Ratio_3ph, {.progress = {{3, 3}}});
  api.on_call = [](const SeenCall& call) { std::cout << '[' << call.line << "]\n"; };
  const std::string output = run("3\n2\n3\n1\n1\n24\n\nT1\n");
  const std::string text = text_of(*ratio_3ph_record("T1", request(0)));
  const std::string report = results.prefix() + "T1.csv";
  EXPECT_EQ(output,
            kMenu + kMethods + kMetering + kPhasing + "User entered phasing: 1\n" + kVoltages +
                kRatio + kTestId +
                "[kvr_CheckRecordExists \"T1\" exists=false]\n"
                "[kvr_LockAPI]\n"
                "Testing at voltage: 24\n"
                "Tests left: 0\n"
                "[kvr_Test_Ratio_3ph progress_callback=set progress_context=null record=null]\n"
                "progress: 3/3\n"
                "\n" +
                text +
                "[kvr_FreeTestRecord record=1 \"T1\"]\n"
                "\n"
                "Saved RAW data to " +
                report + ".RAW.csv[kvr_UnlockAPI]\n");
  EXPECT_THAT(api.complaints(), IsEmpty());
  EXPECT_EQ(tests().at(0).handler.progress_callback, &on_progress);
  EXPECT_THAT(results.read("T1.csv"), StartsWith("sep=;\nSerial #:;SN-0042\n"));
  EXPECT_EQ(results.read("T1.csv.RAW.csv"), "raw data of T1\n");
  EXPECT_EQ(byte_rows(bytes_of(tests().at(0).head)),
            byte_rows(bytes_of(100, {text_at(60, "T1"), i32(92, 1)})));
}

// "Test ALL modes".

TEST_F(ThreePhase, TestsAllModesAsASeriesThatIsNotKept) {
  const std::string questions =
      kMenu + kMethods + kMetering + kLastQuestions + "Testing ALL test types.\n" + kTestId;
  const std::string file = results.prefix() + "1.2-T1.csv";
  const std::string output = run_after(questions, "2\n6\n1\n1\n\n8\n\nT1\n");
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
                        text_of(*ratio_3ph_record("T1", request(2))) +
                        "\n"
                        "Saved RAW data to " +
                        file + ".RAW.csv");
  EXPECT_THAT(save_modes(), ElementsAre(3, 3, 3));
  const std::string body = ExpectedBody{.test_type = 1}.rows();
  EXPECT_EQ(body_rows(0), body);
  EXPECT_EQ(body_rows(1), body);
  EXPECT_EQ(body_rows(2), body);
  EXPECT_STREQ(tests().at(2).head.record_id, "T1");
  EXPECT_THAT(clock.sleeps_ms(), ElementsAre(1000, 1000, 1000));
}

TEST_F(ThreePhase, TestsAllModesOverTheWholePlanThreeTimes) {
  run("3\n6\n1\n1\n\nA\n\nT1\n");
  const std::vector<float> ascending = {3.0F, 6.0F, 12.0F, 24.0F, 36.0F, 47.0F};
  std::vector<float> expected;
  for (int i = 0; i < 3; ++i) {
    expected.insert(expected.end(), ascending.begin(), ascending.end());
  }
  EXPECT_EQ(voltages(), expected);
  EXPECT_THAT(save_modes(), Each(3));
}

TEST_F(ThreePhase, TestsAllModesOfAnEmptyPlanAsNothing) {
  const std::string questions =
      kMenu + kMethods + kMetering + kLastQuestions + "Testing ALL test types.\n" + kTestId;
  EXPECT_EQ(run_after(questions, "2\n6\n1\n1\n\n8x0\n\nT1\n"), "Saved RAW data to .RAW.csv");
  EXPECT_EQ(call_lines(),
            "kvr_CheckRecordExists \"T1\" exists=false\nkvr_LockAPI\nkvr_UnlockAPI\n");
}

// A series.

const char* const kSeriesRow =
    ";8.00000000;8.00000000;8.00000000;0.50000000;0.50000000;0.50000000;"
    "A = (H1-H2) / (X1-X2);16.00000000;0.25000000;"
    "B = (H1-H2) / (X1-X2);16.00000000;0.25000000;"
    "C = (H1-H2) / (X1-X2);16.00000000;0.25000000;"
    "0.12500000;0.12500000;0.12500000;8.00000000;8.00000000;8.00000000;"
    "28.647890;28.647890;28.647890;14.323945;14.323945;14.323945;"
    "14.323945;14.323945;14.323945;0.000000;0.000000;0.000000;"
    "0.00000000;0.00000000;0.00000000;0.00000000;0.00000000;0.00000000;"
    "0.000000;0.000000;0.000000;0.000000;0.000000;0.000000;"
    "0.00000000;0.00000000;16.00000000;0.00000000;0.000000;\n";

TEST_F(ThreePhase, WritesASeriesFile) {
  run("3\n2\n1\n1\n\n8x2\n\nT1\n");
  const std::string row = "T1;3Ph 3-1;UP;8.00000000" + std::string(kSeriesRow);
  EXPECT_EQ(results.read("1.2-T1.csv"), series_head(kThreePhaseColumns) + row + row);
  EXPECT_EQ(results.read("1.2-T1.csv.RAW.csv"), "raw data of T1\nraw data of T1\n");
  EXPECT_THAT(save_modes(), ElementsAre(1, 2));
  EXPECT_THAT(clock.sleeps_ms(), ElementsAre(1000, 1000));
}

TEST_F(ThreePhase, KeepsAndFollowsRecordsLikeASinglePhaseRun) {
  run("1\n1\n1\n\n8x3\n\n\n");
  EXPECT_THAT(save_modes(), ElementsAre(3, 2, 2));
  EXPECT_STREQ(tests().at(0).head.record_id, "");
  EXPECT_STREQ(tests().at(1).head.record_id, "AUTO-1");
  api.reset();
  device_status.database_loaded = 0;
  run("1\n1\n1\n\n8x2\n\nT1\n");
  EXPECT_THAT(save_modes(), ElementsAre(3, 3));
}

TEST_F(ThreePhase, EndsASeriesAtAFailedTest) {
  api.answer(ApiCall::Test_Ratio_3ph, {});
  api.answer(ApiCall::Test_Ratio_3ph, {.result = KVR_RES_INTERLOCK_ON});
  const std::string file = results.prefix() + "1.2-T1.csv";
  EXPECT_THAT(run("1\n1\n1\n\n8x3\n\nT1\n"), EndsWith("Testing at voltage: 8\n"
                                                      "Tests left: 1\n"
                                                      "\n"
                                                      "ERROR: wording of code 167\n"
                                                      "ERROR in last testSaved RAW data to " +
                                                      file + ".RAW.csv"));
  EXPECT_EQ(tests().size(), 2U);
  EXPECT_EQ(api.count(ApiCall::UnlockAPI), 1U);
  EXPECT_EQ(results.read("1.2-T1.csv.RAW.csv"), "raw data of T1\n");
  EXPECT_EQ(run_file_name, "kvr");
}

TEST_F(ThreePhase, FailsWithoutARecord) {
  api.answer(ApiCall::Test_Ratio_3ph, {.null = true});
  EXPECT_THAT(run("1\n1\n1\n\n\n\nT1\n"),
              EndsWith("Tests left: 0\nERROR in last testSaved RAW data to .RAW.csv"));
  EXPECT_EQ(api.count(ApiCall::FreeTestRecord), 0U);
}

TEST_F(ThreePhase, UnlocksOnceWhenAnExceptionEndsTheRun) {
  api.answer(ApiCall::Test_Ratio_3ph,
             {.record = gives("record_id = " + std::string(30, 'T') + "\n")});
  const Console console("1\n1\n1\n\n8x2\n\nT1\n");
  EXPECT_THROW(three_phase_menu(), kvr_exception);
  EXPECT_EQ(last_exception_code, KVR_RES_TEXT_TOO_LONG);
  EXPECT_EQ(api.count(ApiCall::LockAPI), 1U);
  EXPECT_EQ(api.count(ApiCall::UnlockAPI), 1U);
}

// The run by itself.

TEST_F(ThreePhase, RunTakesColumnsAndPlanFromItsCaller) {
  kvr_Ratio3phRequest request = make_ratio_3ph_request();
  request.setup.raw_data_requested = 7;
  const VoltagePlan plan = {{2, 3.0F}, {4, 6.0F}};
  const Console console("T1\n");
  run_ratio_3ph_plan(&request, plan, "columns;of;the;caller", true);
  EXPECT_THAT(results.read("1.2-T1.csv"), StartsWith(series_head("columns;of;the;caller")));
  EXPECT_THAT(save_modes(), ElementsAre(1, 2));
  EXPECT_THAT(voltages(), ElementsAre(3.0F, 6.0F));
  // The run changes the caller's request, and ignores the methods of the plan.
  EXPECT_EQ(request.setup.raw_data_requested, 1);
  EXPECT_EQ(request.test_voltage, 6.0F);
  EXPECT_EQ(request.testing_mode, KVR_TESTING_MODE_3PH_AUTO);
}

TEST_F(ThreePhase, RunWithoutTheDatabaseKeepsNothing) {
  kvr_Ratio3phRequest request = make_ratio_3ph_request();
  const Console console("T1\n");
  run_ratio_3ph_plan(&request, {{0, 3.0F}, {0, 6.0F}}, "columns", false);
  EXPECT_THAT(save_modes(), ElementsAre(3, 3));
  EXPECT_STREQ(tests().at(0).head.record_id, "T1");
}

// The phasing prompt.

class Phasing : public SessionTest {
 protected:
  struct Answered {
    std::int32_t clock;
    float phase_shift;
    std::string output;
  };
  static Answered answer(const std::string& line) {
    kvr_Ratio3phRequest request{};
    request.setup.connections[0].clock = 77;
    const Console console(line + "\n");
    prompt_phasing(&request);
    EXPECT_TRUE(console.output().starts_with(kPhasing)) << console.output();
    return {request.setup.connections[0].clock, request.setup.windings[1].phase_shift,
            console.output().substr(kPhasing.size())};
  }
  static void expect_clock(const std::string& line, std::int32_t clock) {
    const Answered answered = answer(line);
    EXPECT_EQ(answered.clock, clock) << line;
    EXPECT_EQ(answered.phase_shift, 0.0F) << line;
    EXPECT_EQ(answered.output, "User entered phasing: " + std::to_string(clock) + "\n") << line;
  }
  static void expect_angle(const std::string& line, float radians, const std::string& shown) {
    const Answered answered = answer(line);
    EXPECT_EQ(answered.clock, 0) << line;
    EXPECT_EQ(answered.phase_shift, radians) << line;
    EXPECT_EQ(answered.output, "Absolute phase shift angle: " + shown + "\n") << line;
  }
};

TEST_F(Phasing, IsUnknownForAnEmptyLine) {
  const Answered answered = answer("");
  EXPECT_EQ(answered.clock, 100);
  EXPECT_EQ(answered.phase_shift, 0.0F);
  EXPECT_EQ(answered.output, "");
}

TEST_F(Phasing, TakesAClockNumber) {
  expect_clock("0", 0);
  expect_clock("11", 11);
  expect_clock(" 5", 5);
}

TEST_F(Phasing, TakesNumbersBeyondTheClock) {
  expect_clock("15", 15);
  expect_clock("-3", -3);
  expect_clock("100", 100);
}

TEST_F(Phasing, IgnoresWhatFollowsANumber) {
  expect_clock("15 deg", 15);
  expect_clock("11abc", 11);
  expect_clock("7.9", 7);
  expect_clock("0x10", 0);
}

TEST_F(Phasing, TakesAnAngleBeforeAD) {
  expect_angle("15d", 0.261799388F, "0.261799");
  expect_angle("15D", 0.261799388F, "0.261799");
  expect_angle("180d", 3.14159265F, "3.14159");
  expect_angle("-30d", -0.523598776F, "-0.523599");
  expect_angle("0d", 0.0F, "0");
  expect_angle("720.5 d", 12.5750973F, "12.5751");
  expect_angle("0x1d", 0.0174532924F, "0.0174533");  // the d does not belong to the number
  expect_angle("15degrees and d", 0.261799388F, "0.261799");
}

TEST_F(Phasing, ShowsAnAngleWithThePrecisionThatIsInForce) {
  const Console console("15d\n");
  std::cout.precision(2);
  kvr_Ratio3phRequest request{};
  prompt_phasing(&request);
  EXPECT_EQ(console.output(), kPhasing + "Absolute phase shift angle: 0.26\n");
}

TEST_F(Phasing, AsksAgainForWhatDoesNotConvert) {
  for (const char* const line : {"d", "D", "abc", "deg", "xd", " ", "99999999999", "1e999d"}) {
    kvr_Ratio3phRequest request{};
    request.setup.connections[0].clock = 77;
    const Console console(std::string(line) + "\n3\n");
    prompt_phasing(&request);
    EXPECT_EQ(console.output(), kPhasing + kPhasing + "User entered phasing: 3\n") << line;
    EXPECT_EQ(request.setup.connections[0].clock, 3);
    EXPECT_EQ(request.setup.windings[1].phase_shift, 0.0F);
  }
}

TEST_F(Phasing, ChangesNothingElse) {
  kvr_Ratio3phRequest request = make_ratio_3ph_request();
  const std::string before = byte_rows(bytes_of(request));
  const Console console("\n");
  prompt_phasing(&request);
  EXPECT_EQ(byte_rows(bytes_of(request)), before);
}

TEST_F(Phasing, PausesWhereItAsksForEver) {
  end_waiting(clock, 3);
  kvr_Ratio3phRequest request{};
  const Console console("abc");
  EXPECT_THROW(prompt_phasing(&request), WaitedForEver);
  EXPECT_THAT(clock.sleeps_ms(), Each(100));
}

}  // namespace

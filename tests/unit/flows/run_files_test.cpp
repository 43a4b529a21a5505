#include "flows/run_files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iomanip>
#include <ios>
#include <sstream>
#include <string>

#include "support/flow_test.h"

namespace {

class RunFileTexts : public FlowTest {
 protected:
  /// The rows of a record, in the number format of a series file.
  static std::string rows(void (*write)(std::ostream&, const kvr_TestRecord&),
                          const kvr_TestRecord& record) {
    std::ostringstream file;
    file << std::fixed << std::setprecision(8);
    write(file, record);
    return file.str();
  }
  static std::string single_phase_rows(const std::string& text) {
    return rows(write_single_phase_rows, *record_of(text));
  }
  static std::string three_phase_rows(const std::string& text) {
    return rows(write_three_phase_rows, *record_of(text));
  }
  static void write_series_file(const std::string& file_name, const std::string& columns) {
    const Console console;
    open_series_file(file_name, columns);
    EXPECT_EQ(console.output(), "Saved data to " + file_name);
  }
};

TEST_F(RunFileTexts, OfASeriesAreNamedAfterVersionAndTestId) {
  EXPECT_EQ(series_file_name("T1"), results.prefix() + "1.2-T1.csv");
  EXPECT_EQ(series_file_name("a/b=c"), results.prefix() + "1.2-a/b=c.csv");
  device_software_version = "";
  EXPECT_EQ(series_file_name("T1"), results.prefix() + "-T1.csv");
  results_folder = "";
  EXPECT_EQ(series_file_name("T1"), "-T1.csv");
}

TEST_F(RunFileTexts, OfASeriesWithoutATestIdAreNamedAfterTheTime) {
  EXPECT_EQ(series_file_name(""), results.prefix() + "1.2-range-test-15-03-2021 12-00-00.csv");
  device_software_version = "";
  EXPECT_EQ(series_file_name(""), results.prefix() + "-range-test-15-03-2021 12-00-00.csv");
}

TEST_F(RunFileTexts, OfASingleTestAreNamedAfterTheRecord) {
  EXPECT_EQ(report_file_name("T1"), results.prefix() + "T1.csv");
  EXPECT_EQ(report_file_name(""), results.prefix() + ".csv");
}

TEST_F(RunFileTexts, OfASeriesBeginWithTheirHead) {
  write_series_file(results.prefix() + "series.csv", "the;columns");
  EXPECT_EQ(results.read("series.csv"),
            "sep=;\n"
            "KVRU3 client version;5.6.7\n"
            "KVRU3 software version;1.2\n"
            "Date & Time;Mon Mar 15 12:00:00 2021\n"
            "\n"
            "\n"
            "the;columns\n");
}

TEST_F(RunFileTexts, OfASeriesReplaceAFileOfTheirName) {
  results.write("series.csv", std::string(10000, 'x'));
  write_series_file(results.prefix() + "series.csv", "columns");
  EXPECT_EQ(results.read("series.csv"), series_head("columns"));
}

TEST_F(RunFileTexts, OfASeriesHoldNumbersWithEightDecimals) {
  {
    const Console console;
    std::ofstream file = open_series_file(results.prefix() + "series.csv", "columns");
    file << 2.0 << ';' << 1e10;
  }
  EXPECT_EQ(results.read("series.csv"), series_head("columns") + "2.00000000;10000000000.00000000");
}

TEST_F(RunFileTexts, OfASeriesAreLostSilently) {
  const Console console;
  const std::string name = results.prefix() + "no such folder/series.csv";
  std::ofstream file = open_series_file(name, "columns");
  EXPECT_FALSE(file.good());
  write_single_phase_rows(file, *ratio_1ph_record("T1"));
  EXPECT_EQ(console.output(), "Saved data to " + name);
  EXPECT_TRUE(results.empty());
}

TEST_F(RunFileTexts, HaveColumnLinesOfTheirOwnLength) {
  const auto columns = [](const std::string& line) {
    return std::count(line.begin(), line.end(), ';') + 1;
  };
  EXPECT_EQ(columns(kSinglePhaseColumns), 22);
  EXPECT_EQ(columns(kThreePhaseColumns), 69);
}

TEST_F(RunFileTexts, OfASinglePhaseSeriesHaveThisColumnLine) {
  EXPECT_STREQ(kSinglePhaseColumns,
               "Test ID;Mode;Voltage;Voltage Hi;Voltage Lo;V Ratio; V Ratio RE;Current_rms;"
               "Voltage_rms;Power_A;Watt_A;Factor_A;Phase AB;Phase ab;D_Fi;deviation from phasing;"
               "PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X");
}

TEST_F(RunFileTexts, OfAThreePhaseSeriesHaveThisColumnLine) {
  EXPECT_STREQ(
      kThreePhaseColumns,
      "Test ID;Type;Mode;Voltage;Voltage A;Voltage B;Voltage C;Voltage a;Voltage b;Voltage c;"
      "Label A;VR Ratio A;VR RE A %;Label B;VR Ratio B;VR RE B %;Label C;VR Ratio C;VR RE C %;"
      "Current_rms_A;Current_rms_B;Current_rms_C;Voltage_rms_A;Voltage_rms_B;Voltage_rms_C;"
      "Power_A;Power_B;Power_C;Watt_A;Watt_B;Watt_C;Factor_A;Factor_B;Factor_C;"
      "Phase A;Phase B;Phase C;Phase a;Phase b;Phase c;D_Fi a;D_Fi b;D_Fi c;DD_Fi a;DD_Fi b;"
      "DD_Fi c;Pos_Seq Hi;Neg_Seq Hi;Zero_Seq Hi;Pos_Seq Lo;Neg_Seq Lo;Zero_Seq Lo;"
      "Pos_Ph Hi;Neg_Ph Hi;Zero_Ph Hi;Pos_Ph Lo;Neg_Ph Lo;Zero_Ph Lo;"
      "Neg Dist Index;Zero Dist Index;R 3PH;RE 3PH;PH 3PH;PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X");
}

const std::string kSinglePhaseResult =
    "record_id = T1\n"
    "data_count = 1\n"
    "data_ratio_1ph[0].direction = 2\n"
    "data_ratio_1ph[0].test_voltage = 47\n"
    "data_ratio_1ph[0].phase.voltage_h = 46.5\n"
    "data_ratio_1ph[0].phase.voltage_x = 23.25\n"
    "data_ratio_1ph[0].phase.tnr = 2\n"
    "data_ratio_1ph[0].phase.tnr_error = -0.125\n"
    "data_ratio_1ph[0].phase.current_rms = 0.0625\n"
    "data_ratio_1ph[0].phase.voltage_rms = 46.75\n"
    "data_ratio_1ph[0].phase.phase_high = 1\n"
    "data_ratio_1ph[0].phase.phase_low = -1\n"
    "data_ratio_1ph[0].phase.phase_shift_absolute = 3.5\n"
    "data_ratio_1ph[0].phase.phase_deviation_from_user_phasing = 0\n";

// 1 rad is 57.2957795 degrees, and 3.5 rad 200.535233 in single precision, which folds to
// -159.464767.
TEST_F(RunFileTexts, WriteASinglePhaseRowOfThirteenValues) {
  EXPECT_EQ(single_phase_rows(kSinglePhaseResult),
            "T1;UP;47.00000000;46.50000000;23.25000000;2.00000000;-0.12500000;0.06250000;"
            "46.75000000;57.295780;-57.295780;-159.464767;0.000000;\n");
}

TEST_F(RunFileTexts, WidenSinglePrecisionNumbers) {
  const std::string row = single_phase_rows(
      "data_count = 1\n"
      "data_ratio_1ph[0].phase.voltage_h = 0.1\n"
      "data_ratio_1ph[0].phase.tnr = 0.1\n"
      "data_ratio_1ph[0].phase.voltage_rms = 16777216\n");
  EXPECT_EQ(row,
            ";DOWN;0.00000000;0.10000000;0.00000000;0.10000000;0.00000000;0.00000000;"
            "16777216.00000000;0.000000;0.000000;0.000000;0.000000;\n");
}

TEST_F(RunFileTexts, CallEveryDirectionButUpDown) {
  for (std::uint32_t direction = 0; direction < 20; ++direction) {
    const std::string row =
        single_phase_rows("record_id = T1\ndata_count = 1\ndata_ratio_1ph[0].direction = " +
                          std::to_string(direction) + "\n");
    EXPECT_TRUE(row.starts_with(direction == 2 ? "T1;UP;" : "T1;DOWN;")) << row;
  }
}

TEST_F(RunFileTexts, WriteARowForEachResult) {
  const std::string row =
      ";0.00000000;0.00000000;0.00000000;0.00000000;0.00000000;0.00000000;"
      "0.00000000;0.000000;0.000000;0.000000;0.000000;\n";
  EXPECT_EQ(single_phase_rows("record_id = T1\n"
                              "data_count = 2\n"
                              "test_count = 7\n"
                              "data_ratio_1ph[0].direction = 2\n"
                              "data_ratio_1ph[1].direction = 1\n"),
            "T1;UP" + row + "T1;DOWN" + row);
}

TEST_F(RunFileTexts, WriteNoRowWithoutResults) {
  EXPECT_EQ(single_phase_rows("data_count = 0\ntest_count = 1\ndata_ratio_1ph[0].direction = 2\n"),
            "");
  EXPECT_EQ(three_phase_rows("data_count = 0\ntest_count = 1\ndata_ratio_3ph[0].test_type = 2\n"),
            "");
}

TEST_F(RunFileTexts, PassOverMissingResults) {
  EXPECT_EQ(single_phase_rows("data_count = 3\n"), "");
  EXPECT_EQ(three_phase_rows("data_count = 3\n"), "");
  EXPECT_EQ(single_phase_rows("data_count = 2\ndata_ratio_1ph[0] = null\n"
                              "data_ratio_1ph[1].test_voltage = 1\n"),
            ";DOWN;1.00000000;0.00000000;0.00000000;0.00000000;0.00000000;0.00000000;"
            "0.00000000;0.000000;0.000000;0.000000;0.000000;\n");
}

TEST_F(RunFileTexts, TakeAnIdThatFillsItsField) {
  const std::string id(30, 'T');
  EXPECT_TRUE(single_phase_rows("record_id = " + id +
                                "\nasset_id = A\ndata_count = 1\n"
                                "data_ratio_1ph[0].direction = 2\n")
                  .starts_with(id + ";UP;"));
}

/// A three-phase result whose 54 values are all different.
std::string three_phase_result() {
  std::string text =
      "record_id = T3\n"
      "data_count = 1\n"
      "data_ratio_3ph[0].testing_mode = 4\n"
      "data_ratio_3ph[0].test_type = 2\n"
      "data_ratio_3ph[0].test_voltage = 12.5\n";
  const auto set = [&](const std::string& field, const std::string& value) {
    text += "data_ratio_3ph[0]." + field + " = " + value + "\n";
  };
  for (int i = 0; i < 3; ++i) {
    const std::string phase = "phases[" + std::to_string(i) + "].";
    const std::string n = std::to_string(i + 1);
    set(phase + "phase_name", std::string(1, "ABC"[i]));
    set(phase + "high_side_phase", "H" + n);
    set(phase + "low_side_phase", "X" + n);
    set(phase + "voltage_h", "10" + n);
    set(phase + "voltage_x", "20" + n);
    set(phase + "tnr", "30" + n);
    set(phase + "tnr_error", "40" + n);
    set(phase + "current_rms", "50" + n);
    set(phase + "voltage_rms", "60" + n);
    set(phase + "phase_high", "0." + n);
    set(phase + "phase_low", "-0." + n);
    set(phase + "phase_shift_absolute", "1." + n);
    set(phase + "phase_deviation_from_user_phasing", "-1." + n);
    // Not in the row:
    set(phase + "tvr", "99");
    set(phase + "efi", "99");
    set(phase + "induced_voltage", "99");
  }
  set("positive_seq_hi", "701");
  set("negative_seq_hi", "702");
  set("zero_seq_hi", "703");
  set("positive_seq_lo", "704");
  set("negative_seq_lo", "705");
  set("zero_seq_lo", "706");
  set("positive_phase_hi", "2.1");
  set("negative_phase_hi", "2.2");
  set("zero_phase_hi", "2.3");
  set("positive_phase_lo", "-2.1");
  set("negative_phase_lo", "-2.2");
  set("zero_phase_lo", "-2.3");
  set("negative_distortion_index", "0.25");
  set("zero_distortion_index", "0.5");
  set("ratio_3ph", "801");
  set("ratio_3ph_error", "802");
  set("phase_3ph", "3");
  set("negative_distortion_phase", "99");
  set("zero_distortion_phase", "99");
  set("tvr_multiplier", "99");
  return text;
}

TEST_F(RunFileTexts, WriteAThreePhaseRowOf54Values) {
  const std::string row = three_phase_rows(three_phase_result());
  EXPECT_EQ(row,
            "T3;3Ph 3-1;UP;12.50000000;"
            "101.00000000;102.00000000;103.00000000;"
            "201.00000000;202.00000000;203.00000000;"
            "A = (H1) / (X1);301.00000000;401.00000000;"
            "B = (H2) / (X2);302.00000000;402.00000000;"
            "C = (H3) / (X3);303.00000000;403.00000000;"
            "501.00000000;502.00000000;503.00000000;"
            "601.00000000;602.00000000;603.00000000;"
            "5.729578;11.459156;17.188734;"
            "-5.729578;-11.459156;-17.188734;"
            "63.025360;68.754936;74.484512;"
            "-63.025360;-68.754936;-74.484512;"
            "701.00000000;702.00000000;703.00000000;"
            "704.00000000;705.00000000;706.00000000;"
            "120.321129;126.050720;131.780289;"
            "-120.321129;-126.050720;-131.780289;"
            "0.25000000;0.50000000;"
            "801.00000000;802.00000000;"
            "171.887344;\n");
  EXPECT_EQ(std::count(row.begin(), row.end(), ';'), 54);
}

TEST_F(RunFileTexts, PutTheThreePhaseRatioUnderAnotherColumn) {
  const std::string line =
      std::string(kThreePhaseColumns) + "\n" + three_phase_rows(three_phase_result());
  std::istringstream lines(line);
  std::string header;
  std::string row;
  std::getline(lines, header);
  std::getline(lines, row);
  const auto column = [](const std::string& text, int number) {
    std::istringstream stream(text);
    std::string value;
    for (int i = 0; i < number; ++i) {
      std::getline(stream, value, ';');
    }
    return value;
  };
  EXPECT_EQ(column(row, 52), "801.00000000");
  EXPECT_EQ(column(header, 52), "Zero_Seq Lo");
  EXPECT_EQ(column(row, 54), "171.887344");
  EXPECT_EQ(column(header, 54), "Neg_Ph Hi");
}

TEST_F(RunFileTexts, NameTheTestingMode) {
  const std::pair<std::string, std::string> kModes[] = {
      {"0", "Unknown"}, {"1", "1Ph"},       {"2", "3Ph 3-3"},
      {"3", "3Ph 1-1"}, {"4", "3Ph 3-1"},   {"5", "3Ph AUTO"},
      {"6", "Unknown"}, {"100", "Unknown"}, {"4294967295", "Unknown"}};
  for (const auto& [mode, word] : kModes) {
    const std::string row = three_phase_rows(
        "record_id = T1\ndata_count = 1\ndata_ratio_3ph[0].testing_mode = " + mode + "\n");
    EXPECT_TRUE(row.starts_with("T1;" + word + ";DOWN;")) << row;
  }
}

TEST_F(RunFileTexts, NameTheDirectionOfAThreePhaseTest) {
  for (std::uint32_t type = 0; type < 20; ++type) {
    const std::string row = three_phase_rows(
        "record_id = T1\ntest_type = 2\ndata_count = 1\n"
        "data_ratio_3ph[0].test_type = " +
        std::to_string(type) + "\n");
    EXPECT_TRUE(row.starts_with(type == 2 ? "T1;Unknown;UP;" : "T1;Unknown;DOWN;")) << row;
  }
}

TEST_F(RunFileTexts, KeepARawTextAsItIs) {
  const std::string raw = "any;text\n\tof the library, \xC3\xB8 = 5";
  const Console console;
  write_raw_file(results.prefix() + "T1.csv", raw);
  EXPECT_EQ(results.read("T1.csv.RAW.csv"), raw);
  EXPECT_EQ(console.output(), "Saved RAW data to " + results.prefix() + "T1.csv.RAW.csv");
}

TEST_F(RunFileTexts, ReplaceARawFileOfTheirName) {
  results.write("T1.csv.RAW.csv", "of an earlier run");
  const Console console;
  write_raw_file(results.prefix() + "T1.csv", "");
  EXPECT_EQ(results.read("T1.csv.RAW.csv"), "");
}

TEST_F(RunFileTexts, PutARawTextWithoutANameIntoTheWorkingFolder) {
  const Console console;
  write_raw_file("", "raw");
  EXPECT_EQ(working_folder.read(".RAW.csv"), "raw");
  EXPECT_EQ(console.output(), "Saved RAW data to .RAW.csv");
  EXPECT_TRUE(results.empty());
}

TEST_F(RunFileTexts, OfRawDataAreLostSilently) {
  const Console console;
  write_raw_file(results.prefix() + "no such folder/T1.csv", "raw");
  EXPECT_EQ(console.output(),
            "Saved RAW data to " + results.prefix() + "no such folder/T1.csv.RAW.csv");
  EXPECT_TRUE(results.empty());
}

}  // namespace

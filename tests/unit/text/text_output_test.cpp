#include "text/text_output.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>

#include "support/console.h"
#include "support/record_text.h"
#include "support/temporary_folder.h"
#include "support/test_clock.h"
#include "support/thrown_exception.h"

namespace {

using Text = KVR_Text_Output;

const std::string kHead =
    "record_id = T1\n"
    "group_id = G1\n"
    "asset_id = A1\n"
    "timestamp = 2021-03-05 12:00\n"
    "test_count = 7\n"
    "setup.windings[0].winding_type = 3\n"
    "setup.windings[1].winding_type = 1\n"
    "setup.connections[0].clock = 1\n";

std::string header(const std::string& type_word) {
  return "record_id: T1 group_id: G1 asset_id: A1 \t" + type_word +
         " \tYNd1 \t #7 \t2021-03-05 12:00";
}

std::string text_of(const std::string& fields) {
  OwnedRecord owned = parse_record(kHead + fields, "record");
  std::ostringstream out;
  Text::ResultsToText(owned.get(), out);
  EXPECT_EQ(out.precision(), 8);
  EXPECT_EQ(out.flags() & std::ios_base::floatfield, std::ios_base::fixed);
  EXPECT_EQ(Text::ResultsToString(owned.get()), out.str());
  return out.str();
}

TEST(RecordHeaderText, HasAllPieces) {
  OwnedRecord owned = parse_record(kHead + "test_type = 4", "record");
  EXPECT_EQ(Text::RecordHeaderToText(owned.get()), header("ratio_auto"));
}

TEST(RecordHeaderText, OfAnEmptyRecordHasTheTextsBetween) {
  const kvr_TestRecord record{};
  EXPECT_EQ(Text::RecordHeaderToText(&record),
            "record_id:  group_id:  asset_id:  \tundefined \t0 \t #0 \t");
}

TEST(RecordHeaderText, CountIsUnsigned) {
  OwnedRecord owned = parse_record("test_count = 4294967295", "record");
  EXPECT_NE(Text::RecordHeaderToText(owned.get()).find(" \t #4294967295 \t"), std::string::npos);
}

TEST(RecordHeaderText, FieldsWithoutTerminatorEndWithTheirField) {
  const std::string id(30, 'i');
  OwnedRecord owned =
      parse_record("record_id = " + id + "\ngroup_id = G\nasset_id = " + std::string(30, 'a') +
                       "\ntimestamp = " + std::string(35, 't'),
                   "record");
  std::memset(owned.get()->reserved_90, 'r', sizeof owned.get()->reserved_90);
  EXPECT_EQ(Text::RecordHeaderToText(owned.get()),
            "record_id: " + id + " group_id: G asset_id: " + std::string(30, 'a') +
                " \tundefined \t0 \t #0 \t" + std::string(35, 't'));
}

TEST(RecordHeaderText, OfAListEntryIsThatOfItsRecord) {
  const auto entries = std::make_unique<kvr_TestLabel[]>(2);  // packed, as in the library's list
  for (std::size_t i = 0; i < 2; ++i) {
    kvr_TestLabel& entry = entries[i];
    std::strcpy(entry.record_id, "T1");
    std::strcpy(entry.group_id, "G1");
    std::strcpy(entry.asset_id, "A1");
    std::strcpy(entry.timestamp, "2021-03-05 12:00");
    entry.test_count = 7;
    entry.test_type = KVR_TEST_EXCITATION;
    entry.setup.windings[0].winding_type = KVR_WINDING_YN;
    entry.setup.windings[1].winding_type = KVR_WINDING_D;
    entry.setup.connections[0].clock = 1;
    EXPECT_EQ(Text::RecordHeaderToText(&entry), header("excitation"));
  }
  std::memset(entries[1].timestamp, 't', sizeof entries[1].timestamp);
  EXPECT_TRUE(Text::RecordHeaderToText(&entries[1]).ends_with(" \t" + std::string(23, 't')));
}

TEST(RecordHeaderText, RefusesAnUnknownPair) {
  kvr_TestLabel label{};
  label.setup.connection_type = 3;
  EXPECT_THROW(Text::RecordHeaderToText(&label), kvr_exception);
}

TEST(ResultsText, WithoutDataIsTheHeaderLine) {
  EXPECT_EQ(text_of("test_type = 1"), header("ratio_down") + "\n");
  EXPECT_EQ(text_of("test_type = 14"), header("mbalance") + "\n");
}

TEST(ResultsText, OfAnUndefinedTestHasItsName) {
  EXPECT_EQ(text_of("test_type = 0\ndata_count = 2"), header("undefined") +
                                                          "\n"
                                                          "TEST #1 \tKVR_TEST_Undefined\n"
                                                          "TEST #2 \tKVR_TEST_Undefined\n");
}

TEST(ResultsText, OfAnUnknownTypeHasTheTestNumbersAlone) {
  for (const char* const type : {"3", "7", "19", "20", "4294967295"}) {
    EXPECT_EQ(text_of("data_count = 2\ntest_type = " + std::string(type)),
              header("unknown") + "\nTEST #1 \t\nTEST #2 \t\n");
  }
}

TEST(ResultsText, GoesByDataCountAlone) {
  const std::string record =
      "test_type = 18\n"
      "data_drm[1].transition_count = 1\n"
      "test_count = ";
  EXPECT_TRUE(text_of(record + "0\ndata_count = 2")
                  .ends_with(" #0 \t2021-03-05 12:00\n"
                             "TEST #1 \tDRM\n\nTEST #2 \tDRM\n\n"));
}

TEST(ResultsText, EachTypeReadsTheArrayThatItNames) {
  // A record with a result in each array that shows which array it is in.
  const std::string arrays =
      "data_count = 1\n"
      "data_ratio_1ph[0].phase.tnr = 1\n"
      "data_resistance[0].duration_ms = 2\n"
      "data_demag[0].duration_ms = 3\n"
      "data_efficiency[0].duration_ms = 4000\n"
      "data_impedance[0].test_type = 5\n"
      "data_mbalance[0].max_imbalance = 6\n"
      "data_heatrun[0].duration_ms = 7\n"
      "data_gonogo[0].status_open_circuit = 8\n"
      "data_drm[0].transition_count = 9\n"
      "data_drm[0].first_transition.end_time = 1\n"
      "test_type = ";
  const auto shows = [&](int type, const std::string& part) {
    const std::string text = text_of(arrays + std::to_string(type));
    EXPECT_NE(text.find(part), std::string::npos) << type << ": " << text;
  };
  for (const int type : {1, 2, 4, 5, 6, 16}) {
    shows(type, "TNR = 1.0");
  }
  shows(8, "Test duration(ms) = 2\n");
  shows(9, "Test duration(ms) = 2\n");
  shows(10, "Test duration(ms) = 3\n");
  shows(11, "not supported: 5\n");
  shows(12, "not supported: 5\n");
  shows(13, "Time, sec = 4\n");
  shows(14, "Max imbalance: 6.0");
  shows(15, "Test duration(ms) = 7\n");
  shows(17, "status_open_circuit = KVR_RES_NOT_IMPLEMENTED\n");
  shows(18, "transisiont count: 9 ");
}

TEST(ResultsText, FollowsWhatTheStreamHolds) {
  const kvr_TestRecord record{};
  std::ostringstream out;
  out << "before\n" << std::scientific;
  out.precision(2);
  Text::ResultsToText(&record, out);
  EXPECT_EQ(out.str(), "before\n" + Text::ResultsToString(&record));
  EXPECT_EQ(out.precision(), 8);
  EXPECT_EQ(out.flags() & std::ios_base::floatfield, std::ios_base::fixed);
}

TEST(ResultsText, FailedStreamTakesNothing) {
  const kvr_TestRecord record{};
  std::ostringstream out;
  out.setstate(std::ios_base::badbit);
  Text::ResultsToText(&record, out);
  EXPECT_EQ(out.str(), "");
}

TEST(ResultsText, BadPairInTheHeadLeavesNoText) {
  OwnedRecord owned = parse_record(kHead + "data_count = 1\nsetup.connection_type = 3", "record");
  std::ostringstream out;
  expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "winding_h",
                       "Utils::winding_h - incorrect connection_type",
                       [&] { Text::ResultsToText(owned.get(), out); });
  EXPECT_EQ(out.str(), "");
  out << 0.5;  // the number format has been set first of all
  EXPECT_EQ(out.str(), "0.50000000");
}

TEST(ResultsText, BadPairInALaterTestLeavesTheTextBefore) {
  const std::string record =
      "test_type = 13\n"
      "data_efficiency[0].duration_ms = 1000\n"
      "data_efficiency[1].setup.connection_type = 3\n"
      "data_count = ";
  OwnedRecord owned = parse_record(kHead + record + "3", "record");
  std::ostringstream out;
  EXPECT_THROW(Text::ResultsToText(owned.get(), out), kvr_exception);
  EXPECT_EQ(out.str(), text_of(record + "1") + "TEST #2 \tEfficiency\n");
}

class ReportFile : public testing::Test {
 protected:
  void report(const char* file_name) {
    Text::ResultsToReportFile(record_.get(), out_, "KV=42", "4.2=1", file_name);
  }
  std::string path(const std::string& name) const { return folder_.prefix() + name; }
  void expect_whole_text_and(const std::string& console_output) {
    EXPECT_EQ(out_.str(), Text::ResultsToString(record_.get()));
    EXPECT_EQ(console_.output(), console_output);
  }

  // Equals signs everywhere, also two in one line.
  OwnedRecord record_ = parse_record(
      "test_type = 1\ndata_count = 1\nrecord_id = A=B\ndata_ratio_1ph[0].phase.tnr = 2", "record");
  const std::string block_ =
      "Serial #:;KV=42\n"
      "S/W version;4.2=1\n"
      "Date & Time;Mon Mar 15 12:00:00 2021\n"
      "\n"
      "record_id: A;B group_id:  asset_id:  \tratio_down \t0 \t #0 \t\n"
      "TEST #1 \tRatio Test DOWN\n"
      "TNR ; 2.00000000\n"
      "High side Phase ; \n"
      "Low side Phase ; \n"
      "Voltage H ; 0.00000000\n"
      "Voltage X ; 0.00000000\n"
      "curr H ; 0.00000000\n"
      "curr X ; 0.00000000\n"
      "eFi ; 0.00000000 ; 0.000000 deg\n"
      "Phase High ; 0.000000\n"
      "Phase Low ; 0.000000\n"
      "phase_shift_absolute ; 0.000000\n"
      "phase_deviation_from_user_phasing ; 0.000000\n"
      "Current_rms ; 0.00000000\n"
      "Voltage_rms ; 0.00000000\n"
      "Frequency ; 0.0\n"
      "Induced voltage ; 0.0\n"
      "\n";
  TestClock clock_;
  TemporaryFolder folder_;
  Console console_;
  std::ostringstream out_;
};

TEST_F(ReportFile, WithoutANameIsNone) {
  report(nullptr);
  expect_whole_text_and("");
  EXPECT_TRUE(folder_.empty());
}

TEST_F(ReportFile, NewOneNamesItsSeparator) {
  report(path("report.csv").c_str());
  expect_whole_text_and("");
  EXPECT_EQ(folder_.read("report.csv"), "sep=;\n" + block_);
}

TEST_F(ReportFile, ExistingOneGrowsByABlockAfterAnEmptyLine) {
  report(path("report.csv").c_str());
  out_.str("");
  report(path("report.csv").c_str());
  expect_whole_text_and("");
  EXPECT_EQ(folder_.read("report.csv"), "sep=;\n" + block_ + "\n" + block_);
}

TEST_F(ReportFile, EmptyOneExists) {
  folder_.write("report.csv", "");
  report(path("report.csv").c_str());
  expect_whole_text_and("");
  EXPECT_EQ(folder_.read("report.csv"), "\n" + block_);
}

TEST_F(ReportFile, InAMissingFolderCostsAWarning) {
  const std::string name = path("missing/report.csv");
  report(name.c_str());
  expect_whole_text_and("WARNING: Could not open file for write: " + name + "\n");
  EXPECT_TRUE(folder_.empty());
}

TEST_F(ReportFile, ThatIsAFolderCostsAWarning) {
  std::filesystem::create_directory(path("folder"));
  report(path("folder").c_str());
  expect_whole_text_and("WARNING: Could not open file for write: " + path("folder") + "\n");
}

TEST_F(ReportFile, WithAnEmptyNameCostsAWarning) {
  report("");
  expect_whole_text_and("WARNING: Could not open file for write: \n");
}

TEST_F(ReportFile, ThatMustNotBeWrittenCostsAWarning) {
  folder_.write("report.csv", "kept");
  std::filesystem::permissions(path("report.csv"), std::filesystem::perms::owner_read);
  if (std::ofstream(path("report.csv"), std::ios::app).is_open()) {
    GTEST_SKIP() << "this user may write to any file";
  }
  report(path("report.csv").c_str());
  expect_whole_text_and("WARNING: Could not open file for write: " + path("report.csv") + "\n");
  EXPECT_EQ(folder_.read("report.csv"), "kept");
}

TEST_F(ReportFile, OnAFullDiskCostsNothing) {
  if (!std::filesystem::exists("/dev/full")) {
    GTEST_SKIP() << "this system has no /dev/full";
  }
  report("/dev/full");
  expect_whole_text_and("");
}

TEST_F(ReportFile, EndsBeforeATimeThatHasNoText) {
  clock_.now = std::numeric_limits<std::time_t>::max();
  report(path("report.csv").c_str());
  expect_whole_text_and("");
  EXPECT_EQ(folder_.read("report.csv"), "sep=;\nSerial #:;KV=42\nS/W version;4.2=1\nDate & Time;");
}

TEST_F(ReportFile, OfARecordThatThrowsHasItsHeadAlone) {
  record_.get()->setup.connection_type = 3;
  EXPECT_THROW(report(path("report.csv").c_str()), kvr_exception);
  EXPECT_EQ(out_.str(), "");
  EXPECT_EQ(folder_.read("report.csv"), "sep=;\n" + block_.substr(0, block_.find("record_id")));
}

}  // namespace

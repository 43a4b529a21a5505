#include "records/record_export.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/flow_test.h"

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// The text with each @ replaced by the phase letter, an o with a stroke, in UTF-8.
std::string with_phase_letters(std::string text) {
  for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@')) {
    text.replace(at, 1, "\xC3\xB8");
  }
  return text;
}

const std::string kThreePhaseHeader = with_phase_letters(
    "TEST ID,TIMESTAMP,VECTOR,TESTING MODE,TEST TYPE,PHASE CONFIG_A,VOLTAGE_A, ,PHASE CONFIG_B,"
    "VOLTAGE_B, ,PHASE CONFIG_C,VOLTAGE_C, ,PHASE CONFIG_A,VOLTAGE_A, ,PHASE CONFIG_B,VOLTAGE_B, ,"
    "PHASE CONFIG_C,VOLTAGE_C, ,"
    "@A V RATIO,@A VR RATIO ERROR,@A CURRENT RMS,@A VOLTAGE RMS,@A eFi,@A PHASE HIGH,@A PHASE LOW,"
    "@A PHASE SHIFT ABSOLUTE,@A DEVIATION FROM PHASING,@A VOL RMS HIGH,@A VOL RMS LOW, ,"
    "@B V RATIO,@B VR RATIO ERROR,@B CURRENT RMS,@B VOLTAGE RMS,@B eFi,@B PHASE HIGH,@B PHASE LOW,"
    "@B PHASE SHIFT ABSOLUTE,@B DEVIATION FROM PHASING,@B VOL RMS HIGH,@B VOL RMS LOW, ,"
    "@C V RATIO,@C VR RATIO ERROR,@C CURRENT RMS,@C VOLTAGE RMS,@C eFi,@C PHASE HIGH,@C PHASE LOW,"
    "@C PHASE SHIFT ABSOLUTE,@C DEVIATION FROM PHASING,@C VOL RMS HIGH,@C VOL RMS LOW, ,"
    "POSITIVE SEQ HI,NEGATIVE SEQ HI,ZERO SEQ HI,POSITIVE PHASE HI,NEGATIVE PHASE HI,"
    "ZERO PHASE HI,POSITIVE SEQ LO,NEGATIVE SEQ LO,ZERO SEQ LO,POSITIVE PHASE LO,"
    "NEGATIVE PHASE LO,ZERO PHASE LO,NEGATIVE DISTORTION INDEX,NEGATIVE DISTORTION PHASE (Deg),"
    "ZERO DISTORTION INDEX,ZERO DISTORTION PHASE (Deg),RATIO 3PH,RATIO 3PH ERROR %,PHASE 3PH,"
    "TVR MULTIPLIER FACTOR,INDUCED VOLTAGE,HEALTH STATE,DISTORTED PHASE");
const std::string kSinglePhaseHeader =
    "TEST ID,TIMESTAMP,TESTING MODE,HIGH SIDE PHASE,LOW SIDE PHASE,VOLTAGE HIGH,VOLTAGE LOW,RATIO,"
    "PHASE HIGH,PHASE LOW,PHASE SHIFT ABSOLUTE,PHASE DEV FROM USER PHASING,VR RATIO ERROR %,"
    "CURRENT RMS,VOLTAGE RMS,CURRENT F,INDUCED VOLTAGE,";

std::vector<std::string> columns_of(const std::string& row) {
  std::vector<std::string> columns = {""};
  for (const char character : row) {
    if (character == ',') {
      columns.emplace_back();
    } else {
      columns.back() += character;
    }
  }
  return columns;
}

/// Record text with a prefix before each field.
std::string with_prefix(const std::string& prefix, const std::string& fields) {
  std::istringstream lines(fields);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    text += prefix + line + "\n";
  }
  return text;
}

/// The fields of a three-phase result whose values are all different.
std::string three_phase_fields() {
  std::string text =
      "testing_mode = 4\n"
      "test_type = 2\n";
  const auto set = [&](const std::string& field, const std::string& value) {
    text += field + " = " + value + "\n";
  };
  for (int i = 0; i < 3; ++i) {
    const std::string phase = "phases[" + std::to_string(i) + "].";
    const std::string n = std::to_string(i + 1);
    set(phase + "phase_name", "name");
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
    set(phase + "vol_rms_high", "70" + n);
    set(phase + "vol_rms_low", "80" + n);
    set(phase + "induced_voltage", "90" + n);
    // Not in the row:
    set(phase + "efi", "99");
    set(phase + "phase_deviation_from_user_phasing", "99");
  }
  set("positive_seq_hi", "1001");
  set("negative_seq_hi", "1002");
  set("zero_seq_hi", "1003");
  set("positive_phase_hi", "2.1");
  set("negative_phase_hi", "2.2");
  set("zero_phase_hi", "2.3");
  set("positive_seq_lo", "1004");
  set("negative_seq_lo", "1005");
  set("zero_seq_lo", "1006");
  set("positive_phase_lo", "-2.1");
  set("negative_phase_lo", "-2.2");
  set("zero_phase_lo", "-2.3");
  set("negative_distortion_index", "0.25");
  set("negative_distortion_phase", "0.5");
  set("zero_distortion_index", "0.75");
  set("zero_distortion_phase", "3.5");
  set("ratio_3ph", "1007");
  set("ratio_3ph_error", "1008");
  set("phase_3ph", "-3.5");
  set("tvr_multiplier", "1009");
  set("health_state", "99");
  return text;
}

const std::string kThreePhaseHead =
    "record_id = T3\n"
    "timestamp = 05.03.2021 12:00:00\n"
    "test_type = 4\n"
    "test_count = 1\n"
    "setup.windings[0].winding_type = 3\n"
    "setup.windings[1].winding_type = 1\n"
    "setup.connections[0].clock = 1\n";

std::string three_phase_record() {
  return kThreePhaseHead + with_prefix("data_ratio_3ph[0].", three_phase_fields());
}

// Positions 15 to 74 of the row of three_phase_fields().
const std::string kRestOfRow =
    "X1,201,,X2,202,,X3,203,,"
    "301,401,501,601,0.1,-0.1,1.1,701,801,,"
    "302,402,502,602,0.2,-0.2,1.2,702,802,,"
    "303,403,503,603,0.3,-0.3,1.3,703,803,,"
    "1001,1002,1003,120.321129,126.050720,131.780289,"
    "1004,1005,1006,-120.321129,-126.050720,-131.780289,"
    "0.25,28.647890,0.75,-159.464767,"
    "1007,1008,159.464767,1009,901,\n";
const std::string kThreePhaseRow =
    "T3,05.03.2021 12:00:00,YNd1,STEP UP,Excite 3 : Measure 1,"
    "H1,101,,H2,102,,H3,103,," +
    kRestOfRow;

const std::string kSinglePhaseFields =
    "direction = 1\n"
    "phase.phase_name = name\n"
    "phase.high_side_phase = H1-H2\n"
    "phase.low_side_phase = X1-X2\n"
    "phase.voltage_h = 10.5\n"
    "phase.voltage_x = 2.25\n"
    "phase.tnr = 4.75\n"
    "phase.tnr_error = -0.125\n"
    "phase.phase_high = 1\n"
    "phase.phase_low = 0.5\n"
    "phase.phase_shift_absolute = -1\n"
    "phase.phase_deviation_from_user_phasing = 3.5\n"
    "phase.current_rms = 0.0625\n"
    "phase.voltage_rms = 10.75\n"
    "phase.efi = 1.5\n"
    "phase.induced_voltage = 7\n"
    "phase.vol_rms_high = 99\n"
    "phase.vol_rms_low = 99\n";
const std::string kSinglePhaseHead =
    "record_id = T1\n"
    "timestamp = 06.03.2021\n"
    "test_count = 1\n"
    "test_type = 1\n";
const std::string kSinglePhaseRow =
    "T1,06.03.2021,STEP DOWN,H1-H2,X1-X2,10.5,2.25,4.75,57.295780,28.647890,-57.295780,"
    "-159.464767,-0.125,0.0625,10.75,1.5,7\n";

std::string single_phase_record() {
  return kSinglePhaseHead + with_prefix("data_ratio_1ph[0].", kSinglePhaseFields);
}

kvr_TestLabel label(const std::string& record_id) {
  kvr_TestLabel label{};
  std::copy(record_id.begin(), record_id.end(), label.record_id);
  return label;
}

class RecordExport : public FlowTest {
 protected:
  static std::string three_phase_rows(const std::string& text) {
    std::ostringstream file;
    write_three_phase_export(file, *record_of(text));
    return file.str();
  }
  static std::string single_phase_rows(const std::string& text) {
    std::ostringstream file;
    write_single_phase_export(file, *record_of(text));
    return file.str();
  }

  void store_holds(const std::vector<std::string>& record_ids) {
    std::vector<kvr_TestLabel> labels;
    for (const std::string& record_id : record_ids) {
      labels.push_back(label(record_id));
    }
    api.answer(ApiCall::ListRecords, {.labels = labels});
  }
  void read_gives(const std::string& record, std::int32_t result = KVR_RES_OK) {
    api.answer(ApiCall::ReadRecord, {.result = result, .record = gives(record)});
  }
  /// The output of an export after its first line.
  std::string run() const {
    const Console console;
    export_records();
    const std::string first =
        "Export results to: " + results.prefix() + kFolder + results.prefix().back() + "\n";
    EXPECT_TRUE(console.output().starts_with(first)) << console.output();
    return console.output().substr(std::min(first.size(), console.output().size()));
  }
  std::string file(const std::string& name) const { return results.read(fs::path(kFolder) / name); }
  std::string three_phase_file() const { return file("3ph_export.csv"); }
  std::string single_phase_file() const { return file("1ph_export.csv"); }

  const std::string kFolder = "20210315_12_00_00";
};

// Headers.

TEST_F(RecordExport, HasTheseHeaders) {
  EXPECT_EQ(kThreePhaseExportHeader, kThreePhaseHeader);
  EXPECT_EQ(kSinglePhaseExportHeader, kSinglePhaseHeader);
}

TEST_F(RecordExport, HasHeadersOfTheirOwnLength) {
  EXPECT_EQ(columns_of(kThreePhaseExportHeader).size(), 82U);
  EXPECT_EQ(columns_of(kSinglePhaseExportHeader).size(), 18U);  // the last one without a name
  EXPECT_EQ(columns_of(kSinglePhaseExportHeader).back(), "");
}

// Three-phase rows.

TEST_F(RecordExport, WritesAThreePhaseRowOf74Values) {
  const std::string row = three_phase_rows(three_phase_record());
  EXPECT_EQ(row, kThreePhaseRow);
  EXPECT_EQ(columns_of(row).size(), 75U);  // 74 values, and the line feed after the last comma
  EXPECT_EQ(columns_of(row).back(), "\n");
}

TEST_F(RecordExport, KeepsRowAndHeaderApartFromColumn28On) {
  const std::vector<std::string> row = columns_of(three_phase_rows(three_phase_record()));
  const std::vector<std::string> header = columns_of(kThreePhaseExportHeader);
  const auto value_under = [&](std::size_t position) {
    return header.at(position - 1) + ": " + row.at(position - 1);
  };
  EXPECT_EQ(value_under(27), with_phase_letters("@A VOLTAGE RMS: 601"));
  EXPECT_EQ(value_under(28), with_phase_letters("@A eFi: 0.1"));
  EXPECT_EQ(value_under(34), with_phase_letters("@A VOL RMS LOW: 302"));
  EXPECT_EQ(value_under(54), with_phase_letters("@C PHASE LOW: 1001"));
  EXPECT_EQ(value_under(74), "ZERO DISTORTION INDEX: 901");
}

TEST_F(RecordExport, NamesTheModeOfAThreePhaseTest) {
  const auto mode = [&](std::uint32_t record_type, std::uint32_t result_type) {
    return columns_of(three_phase_rows(
                          "test_count = 1\ntest_type = " + std::to_string(record_type) +
                          "\ndata_ratio_3ph[0].test_type = " + std::to_string(result_type) + "\n"))
        .at(3);
  };
  for (std::uint32_t type = 0; type <= 19; ++type) {
    const std::string word = type == 2 ? "STEP UP" : type == 1 ? "STEP DOWN" : "UNDEFINED";
    EXPECT_EQ(mode(4, type), word) << type;
    EXPECT_EQ(mode(2, type), "STEP UP");
    EXPECT_EQ(mode(1, type), "STEP DOWN");
    if (type != 1 && type != 2 && type != 4) {
      EXPECT_EQ(mode(type, 2), "UNDEFINED") << type;
    }
  }
}

TEST_F(RecordExport, NamesTheExcitationOfAThreePhaseTest) {
  const auto excitation = [&](const std::string& mode) {
    return columns_of(
               three_phase_rows("test_count = 1\ndata_ratio_3ph[0].testing_mode = " + mode + "\n"))
        .at(4);
  };
  EXPECT_EQ(excitation("3"), "Excite 1 : Measure 1");
  EXPECT_EQ(excitation("4"), "Excite 3 : Measure 1");
  EXPECT_EQ(excitation("2"), "Excite 3 : Measure 3");
  for (const char* const mode : {"0", "1", "5", "6", "4294967295"}) {
    EXPECT_EQ(excitation(mode), "UNDEFINED") << mode;
  }
}

TEST_F(RecordExport, WritesARowForEachTest) {
  const std::string text = kThreePhaseHead + "test_count = 3\ndata_count = 1\n" +
                           with_prefix("data_ratio_3ph[0].", three_phase_fields()) +
                           with_prefix("data_ratio_3ph[1].", three_phase_fields()) +
                           "data_ratio_3ph[1].test_type = 1\ndata_ratio_3ph[2].test_type = 0\n" +
                           "data_ratio_3ph[2].phases[0].status = 7\n";
  std::string down = kThreePhaseRow;
  down.replace(down.find("STEP UP"), 7, "STEP DOWN");
  EXPECT_EQ(three_phase_rows(text),
            kThreePhaseRow + down +
                "T3,05.03.2021 12:00:00,YNd1,UNDEFINED,UNDEFINED,wording of code 7\n");
}

TEST_F(RecordExport, CutsAThreePhaseRowAtTheFirstFailedPhase) {
  const std::string begin = "T3,05.03.2021 12:00:00,YNd1,STEP UP,Excite 3 : Measure 1,";
  const std::string record = three_phase_record();
  EXPECT_EQ(three_phase_rows(record + "data_ratio_3ph[0].phases[0].status = 30\n" +
                             "data_ratio_3ph[0].phases[2].status = 31\n"),
            begin + "wording of code 30\n");
  EXPECT_EQ(three_phase_rows(record + "data_ratio_3ph[0].phases[1].status = 156\n"),
            begin + "H1,101,,wording of code 156\n");
  EXPECT_EQ(three_phase_rows(record + "data_ratio_3ph[0].phases[2].status = -1\n"),
            begin + "H1,101,,H2,102,,wording of code -1\n");
}

TEST_F(RecordExport, CutsForEveryCodeButZero) {
  for (const char* const status : {"44", "76", "180"}) {
    EXPECT_EQ(three_phase_rows("test_count = 1\ndata_ratio_3ph[0].phases[0].status = " +
                               std::string(status) + "\n"),
              ",,0,UNDEFINED,UNDEFINED,wording of code " + std::string(status) + "\n");
  }
}

TEST_F(RecordExport, GoesOnWithTheNextRowAfterACutOne) {
  EXPECT_EQ(
      three_phase_rows(kThreePhaseHead + "test_count = 2\n" +
                       "data_ratio_3ph[0].phases[0].status = 156\n" +
                       with_prefix("data_ratio_3ph[1].", three_phase_fields())),
      "T3,05.03.2021 12:00:00,YNd1,UNDEFINED,UNDEFINED,wording of code 156\n" + kThreePhaseRow);
}

TEST_F(RecordExport, SaysThatARecordHoldsNoResults) {
  const std::string line = ",THIS RECORD DOES NOT CONTAIN RESULTS\n";
  EXPECT_EQ(three_phase_rows(three_phase_record() + "test_count = 0\ndata_count = 1\n"),
            "T3" + line);
  EXPECT_EQ(single_phase_rows(single_phase_record() + "test_count = 0\ndata_count = 1\n"),
            "T1" + line);
}

// Single-phase rows.

TEST_F(RecordExport, WritesASinglePhaseRowOf17Values) {
  const std::string row = single_phase_rows(single_phase_record());
  EXPECT_EQ(row, kSinglePhaseRow);
  EXPECT_EQ(columns_of(row).size(), 17U);
}

TEST_F(RecordExport, NamesTheModeOfASinglePhaseTest) {
  for (std::uint32_t direction = 0; direction <= 19; ++direction) {
    const std::string word = direction == 2   ? "STEP UP"
                             : direction == 5 ? "CT TEST"
                             : direction == 1 ? "STEP DOWN"
                                              : "UNDEFINED";
    const std::string row =
        single_phase_rows("test_count = 1\ntest_type = 2\ndata_ratio_1ph[0].direction = " +
                          std::to_string(direction) + "\n");
    EXPECT_EQ(columns_of(row).at(2), word) << direction;
  }
}

TEST_F(RecordExport, CutsASinglePhaseRowAfterItsMode) {
  EXPECT_EQ(single_phase_rows(single_phase_record() + "data_ratio_1ph[0].phase.status = 156\n"),
            "T1,06.03.2021,STEP DOWN,wording of code 156\n");
}

TEST_F(RecordExport, WritesPhaseAnglesInTheUnitOfTheirFile) {
  EXPECT_EQ(columns_of(three_phase_rows("test_count = 1\n"
                                        "data_ratio_3ph[0].phases[0].phase_high = 1\n"))
                .at(27),
            "1");
  EXPECT_EQ(columns_of(single_phase_rows("test_count = 1\n"
                                         "data_ratio_1ph[0].phase.phase_high = 1\n"))
                .at(8),
            "57.295780");
}

// Both.

TEST_F(RecordExport, WritesNumbersWithSixDigits) {
  const auto number = [&](const std::string& value) {
    return columns_of(
               single_phase_rows("test_count = 1\ndata_ratio_1ph[0].phase.tnr = " + value + "\n"))
        .at(7);
  };
  EXPECT_EQ(number("2"), "2");
  EXPECT_EQ(number("0.1"), "0.1");
  EXPECT_EQ(number("123456.4"), "123456");
  EXPECT_EQ(number("1234567"), "1.23457e+06");
  EXPECT_EQ(number("0.00001"), "1e-05");
  EXPECT_EQ(number("0.0001234567"), "0.000123457");
  EXPECT_EQ(number("-0.5"), "-0.5");
  EXPECT_EQ(number("100000"), "100000");
  EXPECT_EQ(number("1000000"), "1e+06");
}

TEST_F(RecordExport, QuotesNothing) {
  const std::string row = single_phase_rows(
      "record_id = a,b \"c\"\ntest_count = 1\n"
      "data_ratio_1ph[0].direction = 5\n");
  EXPECT_THAT(row, StartsWith("a,b \"c\",,CT TEST,"));
  EXPECT_EQ(columns_of(row).size(), 18U);
}

TEST_F(RecordExport, TakesTextsThatFillTheirFields) {
  const std::string id(30, 'T');
  const std::string name(20, 'H');
  const std::string row = single_phase_rows(
      "record_id = " + id + "\nsave_mode = 1\ntest_count = 1\ntimestamp = " + std::string(35, 't') +
      "\ndata_ratio_1ph[0].phase.high_side_phase = " + name +
      "\ndata_ratio_1ph[0].phase.low_side_phase = X\n");
  EXPECT_THAT(row, StartsWith(id + "," + std::string(35, 't') + ",UNDEFINED," + name + ",X,"));
}

TEST_F(RecordExport, PassesOverMissingResults) {
  EXPECT_EQ(three_phase_rows(kThreePhaseHead + "test_count = 2\ndata_ratio_3ph[0] = null\n" +
                             with_prefix("data_ratio_3ph[1].", three_phase_fields())),
            kThreePhaseRow);
}

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

#pragma once

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "records/record_export.h"
#include "support/flow_test.h"

// Records to export, the rows that they give, and an export to a folder of the test's own.

namespace fs = std::filesystem;

/// The text with each @ replaced by the phase letter, an o with a stroke, in UTF-8.
inline std::string with_phase_letters(std::string text) {
  for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@')) {
    text.replace(at, 1, "\xC3\xB8");
  }
  return text;
}

inline const std::string kThreePhaseHeader = with_phase_letters(
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
inline const std::string kSinglePhaseHeader =
    "TEST ID,TIMESTAMP,TESTING MODE,HIGH SIDE PHASE,LOW SIDE PHASE,VOLTAGE HIGH,VOLTAGE LOW,RATIO,"
    "PHASE HIGH,PHASE LOW,PHASE SHIFT ABSOLUTE,PHASE DEV FROM USER PHASING,VR RATIO ERROR %,"
    "CURRENT RMS,VOLTAGE RMS,CURRENT F,INDUCED VOLTAGE,";

inline std::vector<std::string> columns_of(const std::string& row) {
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
inline std::string with_prefix(const std::string& prefix, const std::string& fields) {
  std::istringstream lines(fields);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    text += prefix + line + "\n";
  }
  return text;
}

/// The fields of a three-phase result whose values are all different.
inline std::string three_phase_fields() {
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

inline const std::string kThreePhaseHead =
    "record_id = T3\n"
    "timestamp = 05.03.2021 12:00:00\n"
    "test_type = 4\n"
    "test_count = 1\n"
    "setup.windings[0].winding_type = 3\n"
    "setup.windings[1].winding_type = 1\n"
    "setup.connections[0].clock = 1\n";

inline std::string three_phase_record() {
  return kThreePhaseHead + with_prefix("data_ratio_3ph[0].", three_phase_fields());
}

// Positions 15 to 74 of the row of three_phase_fields().
inline const std::string kRestOfRow =
    "X1,201,,X2,202,,X3,203,,"
    "301,401,501,601,0.1,-0.1,1.1,701,801,,"
    "302,402,502,602,0.2,-0.2,1.2,702,802,,"
    "303,403,503,603,0.3,-0.3,1.3,703,803,,"
    "1001,1002,1003,120.321129,126.050720,131.780289,"
    "1004,1005,1006,-120.321129,-126.050720,-131.780289,"
    "0.25,28.647890,0.75,-159.464767,"
    "1007,1008,159.464767,1009,901,\n";
inline const std::string kThreePhaseRow =
    "T3,05.03.2021 12:00:00,YNd1,STEP UP,Excite 3 : Measure 1,"
    "H1,101,,H2,102,,H3,103,," +
    kRestOfRow;

inline const std::string kSinglePhaseFields =
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
inline const std::string kSinglePhaseHead =
    "record_id = T1\n"
    "timestamp = 06.03.2021\n"
    "test_count = 1\n"
    "test_type = 1\n";
inline const std::string kSinglePhaseRow =
    "T1,06.03.2021,STEP DOWN,H1-H2,X1-X2,10.5,2.25,4.75,57.295780,28.647890,-57.295780,"
    "-159.464767,-0.125,0.0625,10.75,1.5,7\n";

inline std::string single_phase_record() {
  return kSinglePhaseHead + with_prefix("data_ratio_1ph[0].", kSinglePhaseFields);
}

inline kvr_TestLabel label(const std::string& record_id) {
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

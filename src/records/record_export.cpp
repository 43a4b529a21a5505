#include "records/record_export.h"

#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "api/client_api.h"
#include "common/c_text.h"
#include "common/field_text.h"
#include "console/prompts.h"
#include "console/replies.h"
#include "console/session.h"
#include "platform/platform.h"
#include "text/text_output.h"
#include "text/text_writer.h"
#include "text/vector_group_text.h"
#include "utils/utils.h"

const char* const kThreePhaseExportHeader =
    "TEST ID,TIMESTAMP,VECTOR,TESTING MODE,TEST TYPE,"
    "PHASE CONFIG_A,VOLTAGE_A, ,PHASE CONFIG_B,VOLTAGE_B, ,PHASE CONFIG_C,VOLTAGE_C, ,"
    "PHASE CONFIG_A,VOLTAGE_A, ,PHASE CONFIG_B,VOLTAGE_B, ,PHASE CONFIG_C,VOLTAGE_C, ,"
    "øA V RATIO,øA VR RATIO ERROR,øA CURRENT RMS,øA VOLTAGE RMS,øA eFi,øA PHASE HIGH,"
    "øA PHASE LOW,øA PHASE SHIFT ABSOLUTE,øA DEVIATION FROM PHASING,øA VOL RMS HIGH,"
    "øA VOL RMS LOW, ,"
    "øB V RATIO,øB VR RATIO ERROR,øB CURRENT RMS,øB VOLTAGE RMS,øB eFi,øB PHASE HIGH,"
    "øB PHASE LOW,øB PHASE SHIFT ABSOLUTE,øB DEVIATION FROM PHASING,øB VOL RMS HIGH,"
    "øB VOL RMS LOW, ,"
    "øC V RATIO,øC VR RATIO ERROR,øC CURRENT RMS,øC VOLTAGE RMS,øC eFi,øC PHASE HIGH,"
    "øC PHASE LOW,øC PHASE SHIFT ABSOLUTE,øC DEVIATION FROM PHASING,øC VOL RMS HIGH,"
    "øC VOL RMS LOW, ,"
    "POSITIVE SEQ HI,NEGATIVE SEQ HI,ZERO SEQ HI,POSITIVE PHASE HI,NEGATIVE PHASE HI,"
    "ZERO PHASE HI,POSITIVE SEQ LO,NEGATIVE SEQ LO,ZERO SEQ LO,POSITIVE PHASE LO,"
    "NEGATIVE PHASE LO,ZERO PHASE LO,NEGATIVE DISTORTION INDEX,NEGATIVE DISTORTION PHASE (Deg),"
    "ZERO DISTORTION INDEX,ZERO DISTORTION PHASE (Deg),RATIO 3PH,RATIO 3PH ERROR %,PHASE 3PH,"
    "TVR MULTIPLIER FACTOR,INDUCED VOLTAGE,HEALTH STATE,DISTORTED PHASE";

const char* const kSinglePhaseExportHeader =
    "TEST ID,TIMESTAMP,TESTING MODE,HIGH SIDE PHASE,LOW SIDE PHASE,VOLTAGE HIGH,VOLTAGE LOW,RATIO,"
    "PHASE HIGH,PHASE LOW,PHASE SHIFT ABSOLUTE,PHASE DEV FROM USER PHASING,VR RATIO ERROR %,"
    "CURRENT RMS,VOLTAGE RMS,CURRENT F,INDUCED VOLTAGE,";

namespace {

constexpr std::string_view kUndefined = "UNDEFINED";

std::string_view step_text(kvr_TestType direction) {
  if (direction == KVR_TEST_RATIO_UP) {
    return "STEP UP";
  }
  return direction == KVR_TEST_RATIO_DOWN ? "STEP DOWN" : kUndefined;
}

std::string_view three_phase_mode_text(kvr_TestType record_type, kvr_TestType result_type) {
  return step_text(record_type == KVR_TEST_RATIO_AUTO ? result_type : record_type);
}

std::string_view single_phase_mode_text(kvr_TestType direction) {
  return direction == KVR_TEST_RATIO_CT ? "CT TEST" : step_text(direction);
}

std::string_view excitation_text(kvr_TestingMode testing_mode) {
  switch (testing_mode) {
    case KVR_TESTING_MODE_3PH_1_1:
      return "Excite 1 : Measure 1";
    case KVR_TESTING_MODE_3PH_3_1:
      return "Excite 3 : Measure 1";
    case KVR_TESTING_MODE_3PH_3_3:
      return "Excite 3 : Measure 3";
    default:
      return kUndefined;
  }
}

/// Ends a row where a failed phase cuts it short. A null text of the library leaves the file's
/// stream bad, so that nothing written later reaches it.
void cut_row(std::ostream& file, kvr_code status) {
  write_c_text(file, kvr_CodeToString(status));
  file << '\n';
}

/// Columns 6 to 14: the high sides. False, with the row cut, at the first failed phase.
bool write_high_sides(std::ostream& file, const kvr_TestData_Ratio_3ph& result) {
  for (const kvr_TestData_Ratio_Phase& phase : result.phases) {
    if (phase.status != KVR_RES_OK) {  // a phase that was not tested too
      cut_row(file, phase.status);
      return false;
    }
    TextWriter(file) << field_text(phase.high_side_phase) << ',' << phase.voltage_h << ",,";
  }
  return true;
}

/// Columns 15 to 74. The phase angles of columns 24 to 53 are in radians, all others in degrees.
void write_rest_of_row(std::ostream& file, const kvr_TestData_Ratio_3ph& result) {
  TextWriter row(file);
  const auto numbers = [&](auto... values) { ((row << values << ','), ...); };
  const auto degrees = [&](auto... radians) {
    ((row << KVR_Text_Output::RadToDegText(radians) << ','), ...);
  };
  for (const kvr_TestData_Ratio_Phase& phase : result.phases) {
    row << field_text(phase.low_side_phase) << ',' << phase.voltage_x << ",,";
  }
  for (const kvr_TestData_Ratio_Phase& phase : result.phases) {
    numbers(phase.tnr, phase.tnr_error, phase.current_rms, phase.voltage_rms);
    numbers(phase.phase_high, phase.phase_low, phase.phase_shift_absolute);
    numbers(phase.vol_rms_high, phase.vol_rms_low);
    row << ',';
  }
  numbers(result.positive_seq_hi, result.negative_seq_hi, result.zero_seq_hi);
  degrees(result.positive_phase_hi, result.negative_phase_hi, result.zero_phase_hi);
  numbers(result.positive_seq_lo, result.negative_seq_lo, result.zero_seq_lo);
  degrees(result.positive_phase_lo, result.negative_phase_lo, result.zero_phase_lo);
  numbers(result.negative_distortion_index);
  degrees(result.negative_distortion_phase);
  numbers(result.zero_distortion_index);
  degrees(result.zero_distortion_phase);
  numbers(result.ratio_3ph, result.ratio_3ph_error);
  degrees(result.phase_3ph);
  numbers(result.tvr_multiplier, result.phases[0].induced_voltage);
  row << '\n';
}

void write_row(std::ostream& file, const kvr_TestRecord& record,
               const kvr_TestData_Ratio_3ph& result) {
  TextWriter(file) << field_text(record.record_id) << ',' << field_text(record.timestamp) << ','
                   << SetupVectorText(&record.setup) << ','
                   << three_phase_mode_text(record.test_type, result.test_type) << ','
                   << excitation_text(result.testing_mode) << ',';
  if (write_high_sides(file, result)) {
    write_rest_of_row(file, result);
  }
}

void write_row(std::ostream& file, const kvr_TestRecord& record,
               const kvr_TestData_Ratio_1ph& result) {
  const kvr_TestData_Ratio_Phase& phase = result.phase;
  TextWriter(file) << field_text(record.record_id) << ',' << field_text(record.timestamp) << ','
                   << single_phase_mode_text(result.direction) << ',';
  if (phase.status != KVR_RES_OK) {
    cut_row(file, phase.status);
    return;
  }
  const auto degrees = KVR_Text_Output::RadToDegText;
  TextWriter(file) << field_text(phase.high_side_phase) << ',' << field_text(phase.low_side_phase)
                   << ',' << phase.voltage_h << ',' << phase.voltage_x << ',' << phase.tnr << ','
                   << degrees(phase.phase_high) << ',' << degrees(phase.phase_low) << ','
                   << degrees(phase.phase_shift_absolute) << ','
                   << degrees(phase.phase_deviation_from_user_phasing) << ',' << phase.tnr_error
                   << ',' << phase.current_rms << ',' << phase.voltage_rms << ',' << phase.efi
                   << ',' << phase.induced_voltage << '\n';
}

template <typename Result>
void write_rows(std::ostream& file, const kvr_TestRecord& record, Result* const* results) {
  if (record.test_count == 0) {
    TextWriter(file) << field_text(record.record_id) << ",THIS RECORD DOES NOT CONTAIN RESULTS\n";
  }
  for (std::uint32_t i = 0; i < record.test_count; ++i) {  // not data_count
    if (results[i] != nullptr) {
      write_row(file, record, *results[i]);
    }
  }
}

struct ExportFiles {
  explicit ExportFiles(const std::string& folder)
      : three_phase(folder + "3ph_export.csv"), single_phase(folder + "1ph_export.csv") {}

  std::ofstream three_phase;
  std::ofstream single_phase;
};

/// Exports one entry of the list of `count`. Three-phase records are deliberately not freed: the
/// library keeps them until it shuts down. `record` still holds the previous entry's record if that
/// was not freed, so a read that succeeds without a record exports that one again.
void export_record(ExportFiles& files, const kvr_TestLabel& entry, std::uint32_t number,
                   std::uint32_t count, kvr_TestRecord*& record) {
  if (!is_accepted(kvr_ReadRecord(entry.record_id, 1, &record)) || record == nullptr) {
    return;
  }
  std::cout << "Serialize[" << number << '/' << count << "] " << field_text(record->record_id)
            << '\n';
  if (record->data_ratio_3ph != nullptr) {
    write_three_phase_export(files.three_phase, *record);
    return;
  }
  if (record->data_ratio_1ph != nullptr) {
    write_single_phase_export(files.single_phase, *record);
  } else {
    std::cout << "Record is empty\n";
  }
  kvr_FreeTestRecord(record);
  record = nullptr;
}

}  // namespace

void write_three_phase_export(std::ostream& file, const kvr_TestRecord& record) {
  write_rows(file, record, record.data_ratio_3ph);
}

void write_single_phase_export(std::ostream& file, const kvr_TestRecord& record) {
  write_rows(file, record, record.data_ratio_1ph);
}

void export_records() {
  const std::string folder = results_folder + date_time_text() + platform::kPathSeparator;
  Utils::CreateDir(folder);
  std::cout << "Export results to: " << folder << '\n';
  ExportFiles files(folder);
  kvr_TestLabelsList* list = nullptr;
  if (!is_accepted(kvr_ListRecords(&list, nullptr, kSortByTestId, 1))) {
    std::cout << "Load database failed\n";
    return;
  }
  files.three_phase << kThreePhaseExportHeader << '\n';
  files.single_phase << kSinglePhaseExportHeader << '\n';
  const std::uint32_t count = list == nullptr ? 0 : list->count;
  kvr_TestRecord* record = nullptr;  // deliberately not cleared for each read
  for (std::uint32_t i = 0; i < count; ++i) {
    export_record(files, list->entries[i], i + 1, count, record);
  }
  files.single_phase.close();
  files.three_phase.close();
  // By the program's own allocator, deliberately; the record menu has the library free its list.
  Utils::free_record(list);
}

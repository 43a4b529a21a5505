#include "flows/run_files.h"

#include <ctime>
#include <iostream>
#include <string_view>

#include "common/c_text.h"
#include "common/clock.h"
#include "common/field_text.h"
#include "console/session.h"
#include "text/text_output.h"
#include "text/text_writer.h"

const char* const kSinglePhaseColumns =
    "Test ID;Mode;Voltage;"
    "Voltage Hi;Voltage Lo;V Ratio; V Ratio RE;"
    "Current_rms;Voltage_rms;Power_A;Watt_A;Factor_A;Phase AB;Phase ab;D_Fi;deviation from phasing;"
    "PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X";

const char* const kThreePhaseColumns =
    "Test ID;Type;Mode;Voltage;"
    "Voltage A;Voltage B;Voltage C;"
    "Voltage a;Voltage b;Voltage c;"
    "Label A;VR Ratio A;VR RE A %;Label B;VR Ratio B;VR RE B %;Label C;VR Ratio C;VR RE C %;"
    "Current_rms_A;Current_rms_B;Current_rms_C;Voltage_rms_A;Voltage_rms_B;Voltage_rms_C;"
    "Power_A;Power_B;Power_C;Watt_A;Watt_B;Watt_C;Factor_A;Factor_B;Factor_C;"
    "Phase A;Phase B;Phase C;Phase a;Phase b;Phase c;D_Fi a;D_Fi b;D_Fi c;"
    "DD_Fi a;DD_Fi b;DD_Fi c;"
    "Pos_Seq Hi;Neg_Seq Hi;Zero_Seq Hi;Pos_Seq Lo;Neg_Seq Lo;Zero_Seq Lo;"
    "Pos_Ph Hi;Neg_Ph Hi;Zero_Ph Hi;Pos_Ph Lo;Neg_Ph Lo;Zero_Ph Lo;"
    "Neg Dist Index;Zero Dist Index;R 3PH;RE 3PH;PH 3PH;PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X";

std::string series_file_name(const std::string& test_id) {
  const std::string name =
      test_id.empty() ? "range-test-" + local_time_text(program_clock.now(), "%d-%m-%Y %H-%M-%S")
                      : test_id;
  return results_folder + device_software_version + "-" + name + ".csv";
}

std::string report_file_name(const std::string& record_id) {
  return results_folder + record_id + ".csv";
}

std::ofstream open_series_file(const std::string& file_name, const std::string& columns) {
  std::ofstream file(file_name);
  file << std::fixed;
  file.precision(8);
  const std::time_t now = program_clock.now();
  file << "sep=;\n"
       << "KVRU3 client version;" << client_version << '\n'
       << "KVRU3 software version;" << device_software_version << '\n'
       << "Date & Time;";
  write_c_text(file, std::ctime(&now));
  file << "\n\n" << columns << '\n';
  std::cout << "Saved data to " << file_name;
  return file;
}

namespace {

const char* mode_text(kvr_TestType test_type) {
  return test_type == KVR_TEST_RATIO_UP ? "UP" : "DOWN";
}

/// The words of the series file, which are not those of the result text.
std::string_view testing_mode_text(kvr_TestingMode testing_mode) {
  constexpr std::string_view kWords[] = {"Unknown", "1Ph",     "3Ph 3-3",
                                         "3Ph 1-1", "3Ph 3-1", "3Ph AUTO"};
  return testing_mode < std::size(kWords) ? kWords[testing_mode] : "Unknown";
}

void write_row(std::ostream& file, std::string_view record_id, const kvr_TestData_Ratio_1ph& test) {
  const kvr_TestData_Ratio_Phase& phase = test.phase;
  TextWriter row(file);
  const auto degrees = [&](float radians) { row << KVR_Text_Output::RadToDegText(radians) << ';'; };
  row << record_id << ';' << mode_text(test.direction) << ';' << test.test_voltage << ';';
  row << phase.voltage_h << ';' << phase.voltage_x << ';';
  row << phase.tnr << ';' << phase.tnr_error << ';';
  row << phase.current_rms << ';' << phase.voltage_rms << ';';
  degrees(phase.phase_high);
  degrees(phase.phase_low);
  degrees(phase.phase_shift_absolute);
  degrees(phase.phase_deviation_from_user_phasing);
  row << '\n';
}

void write_row(std::ostream& file, std::string_view record_id, const kvr_TestData_Ratio_3ph& test) {
  TextWriter row(file);
  const auto numbers = [&](auto... values) { ((row << values << ';'), ...); };
  const auto degrees = [&](auto... radians) {
    ((row << KVR_Text_Output::RadToDegText(radians) << ';'), ...);
  };
  const auto number_of_phases = [&](float kvr_TestData_Ratio_Phase::*field) {
    for (const kvr_TestData_Ratio_Phase& phase : test.phases) {
      row << phase.*field << ';';
    }
  };
  const auto degrees_of_phases = [&](float kvr_TestData_Ratio_Phase::*field) {
    for (const kvr_TestData_Ratio_Phase& phase : test.phases) {
      row << KVR_Text_Output::RadToDegText(phase.*field) << ';';
    }
  };

  row << record_id << ';' << testing_mode_text(test.testing_mode) << ';'
      << mode_text(test.test_type) << ';' << test.test_voltage << ';';
  number_of_phases(&kvr_TestData_Ratio_Phase::voltage_h);
  number_of_phases(&kvr_TestData_Ratio_Phase::voltage_x);
  for (const kvr_TestData_Ratio_Phase& phase : test.phases) {
    row << field_text(phase.phase_name) << " = (" << field_text(phase.high_side_phase) << ") / ("
        << field_text(phase.low_side_phase) << ");" << phase.tnr << ';' << phase.tnr_error << ';';
  }
  number_of_phases(&kvr_TestData_Ratio_Phase::current_rms);
  number_of_phases(&kvr_TestData_Ratio_Phase::voltage_rms);
  degrees_of_phases(&kvr_TestData_Ratio_Phase::phase_high);
  degrees_of_phases(&kvr_TestData_Ratio_Phase::phase_low);
  degrees_of_phases(&kvr_TestData_Ratio_Phase::phase_shift_absolute);
  degrees_of_phases(&kvr_TestData_Ratio_Phase::phase_deviation_from_user_phasing);
  numbers(test.positive_seq_hi, test.negative_seq_hi, test.zero_seq_hi);
  numbers(test.positive_seq_lo, test.negative_seq_lo, test.zero_seq_lo);
  degrees(test.positive_phase_hi, test.negative_phase_hi, test.zero_phase_hi);
  degrees(test.positive_phase_lo, test.negative_phase_lo, test.zero_phase_lo);
  numbers(test.negative_distortion_index, test.zero_distortion_index);
  numbers(test.ratio_3ph, test.ratio_3ph_error);
  degrees(test.phase_3ph);
  row << '\n';
}

template <typename Result>
void write_rows(std::ostream& file, const kvr_TestRecord& record, Result* const* results) {
  for (std::uint32_t i = 0; results != nullptr && i < record.data_count; ++i) {
    if (results[i] != nullptr) {
      write_row(file, field_text(record.record_id), *results[i]);
    }
  }
}

}  // namespace

void write_single_phase_rows(std::ostream& file, const kvr_TestRecord& record) {
  write_rows(file, record, record.data_ratio_1ph);
}

void write_three_phase_rows(std::ostream& file, const kvr_TestRecord& record) {
  write_rows(file, record, record.data_ratio_3ph);
}

std::string raw_file_name(const std::string& run_file) { return run_file + ".RAW.csv"; }

bool write_raw_file(const std::string& run_file, const std::string& raw_text) {
  const std::string file_name = raw_file_name(run_file);
  std::ofstream file(file_name);
  file << raw_text;
  std::cout << "Saved RAW data to " << file_name;
  file.close();
  return file.good();
}

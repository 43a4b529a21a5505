#include "text/text_output.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>

#include "common/c_text.h"
#include "common/clock.h"
#include "text/degrees.h"
#include "text/result_bodies.h"
#include "text/text_writer.h"
#include "text/vector_group_text.h"
#include "utils/utils.h"

namespace {

/// Nothing is written when the setup joins no pair.
template <typename Head>
void write_header(const Head& head, TextWriter& text) {
  const std::string vector_group = SetupVectorText(&head.setup);
  text << "record_id: " << head.record_id << " group_id: " << head.group_id
       << " asset_id: " << head.asset_id << " \t" << KVR_Text_Output::TestTypeText(head.test_type)
       << " \t" << vector_group << " \t #" << head.test_count << " \t" << head.timestamp;
}

template <typename Head>
std::string header_text(const Head& head) {
  std::ostringstream line;
  {
    TextWriter text(line);
    write_header(head, text);
  }
  return line.str();
}

void write_undefined_body(const kvr_TestRecord&, std::uint32_t, TextWriter& text) {
  text << "KVR_TEST_Undefined";
}

void write_no_body(const kvr_TestRecord&, std::uint32_t, TextWriter&) {}

using Body = void (*)(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);

constexpr Body kBodies[] = {
    write_undefined_body,         // undefined
    write_ratio_body,             // ratio_down
    write_ratio_body,             // ratio_up
    write_no_body,                // no such type
    write_ratio_body,             // ratio_auto
    write_ratio_body,             // ratio_ct
    write_ratio_body,             // ratio_pt_vt
    write_no_body,                // no such type
    write_resistance_body,        // resistance
    write_resistance_body,        // resistance_cont
    write_demag_body,             // demag
    write_impedance_body,         // sci
    write_impedance_body,         // frsl
    write_efficiency_body,        // efficiency
    write_magnetic_balance_body,  // mbalance
    write_heatrun_body,           // heatrun
    write_ratio_body,             // excitation
    write_gonogo_body,            // gonogo
    write_drm_body,               // drm
};

void write_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  if (record.test_type < std::size(kBodies)) {
    kBodies[record.test_type](record, i, text);
  }
}

/// The head of a result in a report file. Its date brings its own line end.
void write_report_head(std::ostream& file, bool is_new, const std::string& serial,
                       const std::string& sw_version) {
  const std::time_t now = program_clock.now();
  if (is_new) {
    file << "sep=;";
  }
  file << "\nSerial #:;" << serial << "\nS/W version;" << sw_version << "\nDate & Time;";
  write_c_text(file, std::ctime(&now));
  file << '\n';
}

bool append_report(const kvr_TestRecord* record, const std::string& serial,
                   const std::string& sw_version, const char* file_name) {
  const bool is_new = !FileExists(file_name);
  std::ofstream file(file_name, std::ios::app);
  if (file.is_open()) {
    write_report_head(file, is_new, serial, sw_version);
  } else {
    std::cout << "WARNING: Could not open file for write: " << file_name << '\n';
  }
  std::string text = KVR_Text_Output::ResultsToString(record);
  std::replace(text.begin(), text.end(), '=', ';');
  file << text;
  file.close();
  return file.good();
}

}  // namespace

void write_test_number(std::uint32_t i, TextWriter& text) { text << "TEST #" << i + 1 << " \t"; }

void KVR_Text_Output::ResultsToText(const kvr_TestRecord* record, std::ostringstream& out) {
  TextWriter text(out);
  text.fixed();
  text.precision(kCommonPrecision);
  write_header(*record, text);
  text << '\n';
  for (std::uint32_t i = 0; i < record->data_count; ++i) {
    write_test_number(i, text);
    write_body(*record, i, text);
    if (is_magnetic_balance_missing(*record, i)) {
      return;
    }
    text << '\n';
  }
}

bool KVR_Text_Output::ResultsToReportFile(const kvr_TestRecord* record, std::ostringstream& out,
                                          const std::string& serial, const std::string& sw_version,
                                          const char* file_name) {
  const bool written = file_name == nullptr || append_report(record, serial, sw_version, file_name);
  ResultsToText(record, out);
  return written;
}

std::string KVR_Text_Output::ResultsToString(const kvr_TestRecord* record) {
  std::ostringstream text;
  ResultsToText(record, text);
  return text.str();
}

std::string KVR_Text_Output::RecordHeaderToText(const kvr_TestRecord* record) {
  return header_text(*record);
}

std::string KVR_Text_Output::RecordHeaderToText(const kvr_TestLabel* record) {
  return header_text(*record);
}

std::string KVR_Text_Output::RadToDegText(float radians) {
  std::array<char, 64> text;
  const auto [end, error] =
      std::to_chars(text.data(), text.data() + text.size(),
                    static_cast<double>(folded_degrees(radians)), std::chars_format::fixed, 6);
  return {text.data(), end};
}

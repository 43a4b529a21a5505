#pragma once

#include <cstdint>

#include "api/result_records.h"
#include "text/text_writer.h"

// The bodies of a record's text, one for each family of tests, and the blocks that they share with
// KVR_Text_Output. A body begins on the line of the test number; `i` is the index of the test.

void write_ratio_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_impedance_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_efficiency_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_resistance_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_heatrun_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_demag_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_gonogo_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_drm_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);
void write_magnetic_balance_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text);

/// Whether the balance data of a test is missing, which ends the text of the whole record.
bool is_magnetic_balance_missing(const kvr_TestRecord& record, std::uint32_t i);

/// "TEST #" and the number of the test.
void write_test_number(std::uint32_t i, TextWriter& text);

/// What the results were corrected for. Shared by impedance and efficiency.
void write_corrections(const kvr_TestSetup& setup, TextWriter& text);

/// The precision of all numbers but those of a few lines, which put it back.
constexpr int kCommonPrecision = 8;

/// The precision of the error lines.
constexpr int kErrorPrecision = 4;

/// The entry of a data array of a record; null when there is none.
template <typename Data>
const Data* data_entry(Data* const* data, std::uint32_t i) {
  return data == nullptr ? nullptr : data[i];
}

#pragma once

#include "api/result_records.h"
#include "text/text_writer.h"

// The text of an efficiency test. The templates are for callers with a stream of any output kind,
// whose notation and precision they use; the functions beneath them do the work.

void write_three_phase_efficiency(const kvr_TestData_Efficiency& record, TextWriter& text);
void write_single_phase_efficiency(const kvr_TestData_Efficiency& record, TextWriter& text);
/// The one that fits the high side's winding, and the duration.
void write_efficiency(const kvr_TestData_Efficiency& record, TextWriter& text);

template <typename Stream>
void ResultsToText_Efficiency_3ph(const kvr_TestData_Efficiency* record, Stream& out) {
  TextWriter text(out);
  write_three_phase_efficiency(*record, text);
}

template <typename Stream>
void ResultsToText_Efficiency_1ph(const kvr_TestData_Efficiency* record, Stream& out) {
  TextWriter text(out);
  write_single_phase_efficiency(*record, text);
}

template <typename Stream>
void ResultsToText_Efficiency(const kvr_TestData_Efficiency* record, Stream& out) {
  TextWriter text(out);
  write_efficiency(*record, text);
}

#include "api/codes.h"
#include "text/result_bodies.h"
#include "text/text_output.h"

void write_demag_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  const kvr_TestData_Demag* const r = data_entry(record.data_demag, i);
  if (r == nullptr) {
    return;
  }
  const auto percent = [](float fraction) { return fraction * 100.0F; };  // in single precision
  for (std::uint32_t k = 0; r->phases != nullptr && k < r->phase_count; ++k) {
    if (const kvr_TestData_Demag_Phase* const phase = r->phases[k]) {
      text << "demag_phase = " << phase->demag_phase << '\n';
      text << "remanence_initial = " << percent(phase->remanence_initial) << "%\n";
      text << "remanence_after_demag = " << percent(phase->remanence_after_demag) << "%\n";
    }
  }
  text << "Test duration(ms) = " << r->duration_ms << '\n';
}

namespace {

void write_magnetic_balance(const kvr_TestData_MagneticBalance& r, TextWriter& text) {
  const auto label = [&](const kvr_TestData_MagneticBalance_Row& row) {
    return field_text(r.side == 0 ? row.low_label : row.high_label);
  };
  text << "Magnetic Balance: \n";
  text << "Max imbalance: " << r.max_imbalance << '\n';
  for (const auto& row : r.rows) {
    text << "\t        " << label(row);
  }
  text << "        \tTotal\n";
  for (const auto& row : r.rows) {
    text << ' ' << label(row) << '\t';
    for (const auto& cell : row.cell) {
      text << '\t' << cell.value;
    }
    text << "     " << row.total << '\n';
  }
}

}  // namespace

bool is_magnetic_balance_missing(const kvr_TestRecord& record, std::uint32_t i) {
  return record.test_type == KVR_TEST_MBALANCE && data_entry(record.data_mbalance, i) == nullptr;
}

void write_magnetic_balance_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  if (record.data_mbalance == nullptr) {
    text << "data_mbalance=NULL\n";
  } else if (record.data_mbalance[i] == nullptr) {
    text << "NULL data\n";
  } else {
    write_magnetic_balance(*record.data_mbalance[i], text);
  }
}

void write_gonogo_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  if (const kvr_TestData_GoNoGo* const r = data_entry(record.data_gonogo, i)) {
    text << "status_minimum_inductance = " << CodeToText(r->status_minimum_inductance) << '\n';
    text << "status_open_circuit = " << CodeToText(r->status_open_circuit) << '\n';
    text << "status_short_circuit = " << CodeToText(r->status_short_circuit) << '\n';
  }
}

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "record_form/record_codec.h"
#include "support/record_text.h"

// Records for tests of the stored form and of the record store.

/// A single-phase ratio record of one test: type `ratio_down`, its turns ratio `ratio`.
inline OwnedRecord ratio_record(std::string_view record_id, double ratio = 10.0,
                                std::string_view raw_data = "raw\\n") {
  const std::string text = "record_id = " + std::string(record_id) +
                           "\nsave_mode = 1\ntest_count = 1\ntest_type = 1\ndata_count = 1"
                           "\ntimestamp = 2024-03-05 12:00:00"
                           "\ndata_ratio_1ph[0].phase.tnr = " +
                           std::to_string(ratio) + "\nraw_data = " + std::string(raw_data) + "\n";
  return parse_record(text, "ratio_record");
}

/// A resistance record of one test.
inline OwnedRecord resistance_record(std::string_view record_id) {
  const std::string text = "record_id = " + std::string(record_id) +
                           "\ntest_count = 1\ntest_type = 8\ndata_count = 1"
                           "\ndata_resistance[0].duration_ms = 5\n";
  return parse_record(text, "resistance_record");
}

inline std::vector<std::byte> form_of(const kvr_TestRecord& record) {
  return encode_record(record).value();
}

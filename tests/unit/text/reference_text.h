#pragma once

#include <ostream>

#include "api/result_records.h"

// A second, plain implementation of the result text: one `<<` after the other, no tables, nothing
// shared with the program except the record layouts and the names of codes. Tests compare the
// program's text with it on random records, and benchmarks compare their speed.

/// Thrown where a setup joins no known pair: the text ends there.
struct BadPair {
  const char* where;
};

/// Writes the whole text of a record, fixed and with precision 8. Throws BadPair.
void write_reference_text(const kvr_TestRecord& record, std::ostream& out);

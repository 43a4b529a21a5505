#pragma once

#include <ostream>

#include "api/result_records.h"

// A second, plain telling of the result text: one `<<` after the other, no tables, nothing shared
// with the program but the record layouts and the names of codes. What the program renders is
// compared with it on random records, and measured against it.

/// What a setup that joins no known pair ends the text with.
struct BadPair {
  const char* where;
};

/// Writes the whole text of a record, fixed and with precision 8. Throws BadPair.
void write_reference_text(const kvr_TestRecord& record, std::ostream& out);

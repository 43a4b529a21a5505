#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/record_text.h"
#include "text/result_bodies.h"
#include "text/text_output.h"

// Texts of records that are written as tests/support/record_text.h reads them.

/// A stream with the number format in which the bodies of results are written.
inline std::ostringstream prepared_stream() {
  std::ostringstream out;
  out << std::fixed;
  out.precision(8);
  return out;
}

/// The body of a record's first test, which leaves the number format as it was.
inline std::string body_text(const std::string& record,
                             void (*write)(const kvr_TestRecord&, std::uint32_t, TextWriter&)) {
  OwnedRecord owned = parse_record(record, "record");
  std::ostringstream out = prepared_stream();
  {
    TextWriter text(out);
    write(*owned.get(), 0, text);
  }
  EXPECT_EQ(out.precision(), 8);
  return out.str();
}

/// All tests of a record: the text after the header line.
inline std::string tests_of(const std::string& record) {
  OwnedRecord owned = parse_record(record, "record");
  const std::string text = KVR_Text_Output::ResultsToString(owned.get());
  return text.substr(text.find('\n') + 1);
}

#include <sstream>

#include "common/errors.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/random_input.h"
#include "text/text_output.h"
#include "unit/text/random_records.h"
#include "unit/text/reference_text.h"

// Draws a record from the input and compares its text with that of plain insertions, line by line.

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RandomInput input(data, size);
  RandomRecords records([&input] { return input.next(); });
  const OwnedRecord record = records.next();

  std::ostringstream expected;
  bool expected_refusal = false;
  try {
    write_reference_text(*record.get(), expected);
  } catch (const BadPair&) {
    expected_refusal = true;
  }
  std::ostringstream rendered;
  bool refusal = false;
  try {
    KVR_Text_Output::ResultsToText(record.get(), rendered);
  } catch (const kvr_exception&) {
    refusal = true;
  }
  demand(refusal == expected_refusal, "a pair is refused where none is known");
  demand(rendered.view() == expected.view(), "the text is that of plain insertions");
  return 0;
}

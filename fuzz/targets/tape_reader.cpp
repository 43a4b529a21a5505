#include <string>

#include "fuzz/fuzz_target.h"
#include "tape/format/line_text.h"
#include "tape/format/reader.h"
#include "tape/tool/redaction.h"
#include "tape/tool/tape_comparison.h"
#include "unit/tape/sample_tape.h"

// The reader of tapes: whatever it takes must come out of the writer as a tape that says the same.
// With an odd first byte the input changes bytes of a sample tape, three bytes a change: where, in
// two bytes, and to what. Otherwise it is the tape itself.

namespace {

std::string changed_sample(const std::uint8_t* data, std::size_t size) {
  static const std::string sample = sample_tape();
  std::string text = sample;
  for (std::size_t at = 0; at + 3 <= size; at += 3) {
    const std::size_t place = (data[at] + 256U * data[at + 1]) % text.size();
    text[place] = static_cast<char>(data[at + 2]);
  }
  return text;
}

void check(const std::string& text) {
  tape::Tape read;
  try {
    read = tape::parse_tape(text);
  } catch (const tape::TapeError&) {
    return;
  }
  std::string written = line_of(read.header);
  for (const tape::Event& event : read.events) {
    written += line_of(event);
  }
  const tape::Tape again = tape::parse_tape(written);
  demand(tape::tape_differences(read, again).empty(), "a tape says the same when it is written");
  tape::shortcomings(read);
  try {
    tape::Redaction().redacted(read);
  } catch (const tape::TapeError&) {
    // a record that can't be decoded
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 0 && data[0] % 2 == 1) {
    check(changed_sample(data + 1, size - 1));
  } else {
    check(std::string(as_text(data, size)));
  }
  return 0;
}

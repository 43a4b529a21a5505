#include <algorithm>

#include "fuzz/fuzz_target.h"
#include "toml/ascii_copy.h"
#include "virtual_instrument/bench/bench_reader.h"

// A bench file: any text is read or has its problems reported, one a line, and a second reading
// gives the same. The copy of the text that the parser reads is ASCII, and the text can be restored
// from it.

using namespace virtual_instrument;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = as_text(data, size);
  const BenchReading reading = read_bench(text, "fuzz.toml", built_in_bench());
  for (const std::string& problem : reading.problems) {
    demand(problem.starts_with("fuzz.toml:"), "a problem names its file and line");
    demand(problem.find('\n') == std::string::npos, "a problem is one line");
  }
  const BenchReading again = read_bench(text, "fuzz.toml", built_in_bench());
  demand(again.problems == reading.problems, "the same text has the same problems");
  demand(again.given == reading.given, "the same text gives the same keys");
  const std::string copy = toml_file::ascii_copy(text);
  demand(std::all_of(copy.begin(), copy.end(), [](unsigned char byte) { return byte < 0x80; }),
         "the copy of a text is ASCII");
  demand(toml_file::original_of(copy) == text, "the copy of a text gives the text again");
  return 0;
}

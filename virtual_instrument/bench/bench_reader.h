#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "virtual_instrument/bench/bench.h"

// From the text of a bench file to a bench, with a message for everything in it that is not right:
// file, line, key and what was expected. A misspelt key is a problem like any other, since a bench
// that silently ignores half of what was asked of it measures the wrong thing.

namespace virtual_instrument {

struct BenchReading {
  Bench bench;                        ///< to be used only if there are no problems
  std::vector<std::string> problems;  ///< one line each, without line end
  std::vector<std::string> given;     ///< keys that the text held, as "table.key"
};

/// Reads `text`, a TOML document, over `base`: what the text leaves out stays as it is there, but
/// faults, which are those of the text alone. `name` stands for the text in problems.
BenchReading read_bench(std::string_view text, std::string_view name, const Bench& base);

/// Every key that a bench can hold, as "table.key", those of a fault apart.
std::vector<std::string> bench_keys();

/// The contents of default.toml.
extern const char* const kBuiltInBenchText;

/// The bench that holds without a bench file. Never destroyed.
const Bench& built_in_bench();

}  // namespace virtual_instrument

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "virtual_instrument/bench/bench.h"

// Reads the text of a bench file into a bench, with a message for each mistake in it: file, line,
// key and what was expected. A misspelt key is a mistake too: a bench that silently ignored it
// would measure something else.

namespace virtual_instrument {

struct BenchReading {
  Bench bench;                        ///< valid only if there are no problems
  std::vector<std::string> problems;  ///< one line each, without line end
  std::vector<std::string> given;     ///< keys that the text held, as "table.key"
};

/// Reads `text`, a TOML document, over `base`: keys that the text leaves out keep their values,
/// except faults, which come from the text alone. `name` stands for the text in problems.
BenchReading read_bench(std::string_view text, std::string_view name, const Bench& base);

/// Every key that a bench can hold, as "table.key", those of a fault apart.
std::vector<std::string> bench_keys();

/// default.toml without its comments.
extern const char* const kBuiltInBenchText;

/// The bench in force without a bench file. Never destroyed.
const Bench& built_in_bench();

}  // namespace virtual_instrument

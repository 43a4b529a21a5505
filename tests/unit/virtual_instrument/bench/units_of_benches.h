#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_unit.h"

namespace virtual_instrument {

/// The unit of the built-in bench with these changes.
inline TransformerUnit unit_of_bench(const std::string& text) {
  const BenchReading reading = read_bench(text, "b.toml", built_in_bench());
  EXPECT_EQ(reading.problems, std::vector<std::string>{}) << text;
  return make_unit(reading.bench);
}

/// The same with these keys of its table `transformer`.
inline TransformerUnit unit_of(const std::string& keys) {
  return unit_of_bench("[transformer]\n" + keys);
}

}  // namespace virtual_instrument

#pragma once

#include <cstdint>

namespace virtual_instrument {

/// A stream of random numbers that a seed fixes on every platform: it uses whole
/// numbers and sums only, none of the standard library's distributions and none of its functions.
class Noise {
 public:
  explicit Noise(std::uint64_t seed) : state_(seed) {}

  /// Mean 0, standard deviation 1, never beyond 6.
  double next();

  /// From 0 up to 1, all alike.
  double uniform();

 private:
  std::uint64_t next_bits();

  std::uint64_t state_;
};

}  // namespace virtual_instrument

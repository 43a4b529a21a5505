#pragma once

#include <cstdint>

namespace virtual_instrument {

/// A stream of random numbers that a seed fixes on every platform: it uses only integers and sums,
/// and no distribution or function of the standard library.
class Noise {
 public:
  explicit Noise(std::uint64_t seed) : state_(seed) {}

  /// Mean 0, standard deviation 1, never beyond 6.
  double next();

  /// Uniform from 0 up to 1.
  double uniform();

 private:
  std::uint64_t next_bits();

  std::uint64_t state_;
};

}  // namespace virtual_instrument

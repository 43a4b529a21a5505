#pragma once

#include <cstddef>
#include <cstdint>

/// Draws numbers from the bytes of an input, so that a fuzzer steers what is generated from them.
/// After the end, all bytes before determine the numbers.
class RandomInput {
 public:
  RandomInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  /// One byte of the input, spread over 64 bits; small bytes stay small numbers.
  std::uint64_t next();

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
  std::uint64_t state_ = 0x9e3779b97f4a7c15U;
};

#include "fuzz/random_input.h"

std::uint64_t RandomInput::next() {
  state_ ^= state_ << 13U;
  state_ ^= state_ >> 7U;
  state_ ^= state_ << 17U;
  if (at_ == size_) {
    return state_;
  }
  const std::uint64_t byte = data_[at_++];
  state_ += byte;
  // Below 128 the byte is the number, so that a fuzzer can steer a choice among few; from 128 on
  // any bits follow.
  return byte < 128 ? byte : state_;
}

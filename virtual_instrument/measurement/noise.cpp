#include "virtual_instrument/measurement/noise.h"

namespace virtual_instrument {

double Noise::next() {
  // The sum of twelve uniform numbers has the variance 1.
  double sum = -6.0;
  for (int i = 0; i < 12; ++i) {
    sum += uniform();
  }
  return sum;
}

double Noise::uniform() { return static_cast<double>(next_bits() >> 11) * 0x1p-53; }

// A counter with an odd step; multiplications and shifts mix its bits without loss.
std::uint64_t Noise::next_bits() {
  state_ += 0x9e3779b97f4a7c15U;
  std::uint64_t bits = state_;
  bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9U;
  bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebU;
  return bits ^ (bits >> 31);
}

}  // namespace virtual_instrument

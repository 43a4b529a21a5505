#pragma once

#include <chrono>

namespace virtual_instrument {

/// A number of seconds for the clock that deadlines use.
inline std::chrono::steady_clock::duration steady_seconds(double count) {
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(count));
}

}  // namespace virtual_instrument

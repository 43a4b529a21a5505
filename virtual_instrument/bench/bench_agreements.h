#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "virtual_instrument/bench/bench.h"

// What values of a bench must have in common, each of which may be right on its own.

namespace virtual_instrument {

struct Agreement {
  std::vector<std::string_view> keys;  ///< a problem names the first of them that a file gives
  std::string_view expected;
  bool (*holds)(const Bench&);
};

std::span<const Agreement> agreements();

}  // namespace virtual_instrument

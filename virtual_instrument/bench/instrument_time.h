#pragma once

#include <cstdint>
#include <ctime>

#include "virtual_instrument/bench/bench.h"

namespace virtual_instrument {

/// What the instrument's clock shows, in seconds since 1970.
inline std::int64_t time_on(const InstrumentSettings& instrument) {
  return instrument.clock.value_or(static_cast<std::int64_t>(std::time(nullptr)));
}

}  // namespace virtual_instrument

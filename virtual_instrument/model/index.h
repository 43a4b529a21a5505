#pragma once

#include <cstddef>

namespace virtual_instrument {

/// A number that is not negative, as an index.
constexpr std::size_t index(int number) { return static_cast<std::size_t>(number); }

}  // namespace virtual_instrument

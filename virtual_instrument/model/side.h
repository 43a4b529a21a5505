#pragma once

#include <array>
#include <cstddef>

// The two sides of a transformer, and values that each of them has.

namespace virtual_instrument {

enum class Side { high, low };

inline constexpr std::array<Side, 2> kSides{Side::high, Side::low};

constexpr Side other_side(Side side) { return side == Side::high ? Side::low : Side::high; }

/// 0 for the high side, 1 for the low one.
constexpr std::size_t index(Side side) { return static_cast<std::size_t>(side); }

/// A value for each side, the high one's first.
template <typename Value>
struct BySide {
  std::array<Value, 2> values;

  constexpr Value& operator[](Side side) { return values[index(side)]; }
  constexpr const Value& operator[](Side side) const { return values[index(side)]; }
  constexpr auto begin() { return values.begin(); }
  constexpr auto begin() const { return values.begin(); }
  constexpr auto end() { return values.end(); }
  constexpr auto end() const { return values.end(); }
  bool operator==(const BySide&) const = default;
};

}  // namespace virtual_instrument

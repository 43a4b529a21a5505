#pragma once

#include <cstddef>
#include <cstdint>

#include "api/request_records.h"
#include "virtual_instrument/model/side.h"

// A unit has up to three windings: H, X and Y. A test joins two of them, its high and its low side.

namespace virtual_instrument {

/// Numbered as in kvr_TestSetup::connection_type.
enum class WindingPair : std::uint32_t {
  h_x = kConnectionHToX,
  h_y = kConnectionHToY,
  x_y = kConnectionXToY,
};

/// Where a side of the pair stands among the windings of a setup: 0 for H, 1 for X, 2 for Y.
constexpr std::size_t winding_index(WindingPair pair, Side side) {
  if (side == Side::high) {
    return pair == WindingPair::x_y ? 1 : 0;
  }
  return pair == WindingPair::h_x ? 1 : 2;
}

/// The letter of its terminals.
constexpr char winding_letter(WindingPair pair, Side side) {
  return "HXY"[winding_index(pair, side)];
}

/// REQUIRES of this and the next two: a setup that joins a known pair.
constexpr WindingPair pair_of(const kvr_TestSetup& setup) {
  return WindingPair{setup.connection_type};
}

constexpr const kvr_WindingSetup& winding_of(const kvr_TestSetup& setup, Side side) {
  return setup.windings[winding_index(pair_of(setup), side)];
}

constexpr const kvr_ConnectionSetup& connection_of(const kvr_TestSetup& setup) {
  return setup.connections[setup.connection_type];
}

}  // namespace virtual_instrument

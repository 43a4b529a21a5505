#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "api/enumerations.h"

namespace virtual_instrument {

/// How the coils of three phases are joined on either side: delta or star, the star with or without
/// its neutral brought out. `clock` counts the steps of 30 degrees by which the low side lags.
struct VectorGroup {
  kvr_WindingType high;
  kvr_WindingType low;
  int clock;
};

/// Reads a name like "Dyn1"; none for anything that is not a group of delta and star windings, such
/// as a clock number that the windings can't have.
std::optional<VectorGroup> parse_vector_group(std::string_view name);

constexpr bool is_star(kvr_WindingType winding) {
  return winding == KVR_WINDING_Y || winding == KVR_WINDING_YN;
}

/// Which coil, and which way round, stands at each place of the low side: place k holds the coil of
/// phase (k + shift) modulo 3, times `sign`.
struct CoilPlacing {
  int shift;
  double sign;
};

/// Requires a group that parse_vector_group() gave.
CoilPlacing low_side_placing(const VectorGroup& group);

/// Turns ratio over line voltage ratio of windings so joined: 1 for two alike, else a root of three
/// or its inverse. None for windings other than delta and star.
std::optional<double> turns_per_line_ratio(kvr_WindingType high, kvr_WindingType low);

}  // namespace virtual_instrument

#include "virtual_instrument/model/vector_group.h"

#include <charconv>
#include <numbers>

namespace virtual_instrument {
namespace {

struct WindingName {
  std::string_view high;
  std::string_view low;
  kvr_WindingType winding;
};

// Longer names first, since Y begins YN.
constexpr WindingName kWindingNames[] = {
    {"YN", "yn", KVR_WINDING_YN},
    {"Y", "y", KVR_WINDING_Y},
    {"D", "d", KVR_WINDING_D},
};

/// Cuts a winding's name off the front of `name`.
std::optional<kvr_WindingType> take_winding(std::string_view& name,
                                            std::string_view WindingName::*side) {
  for (const WindingName& entry : kWindingNames) {
    if (name.starts_with(entry.*side)) {
      name.remove_prefix((entry.*side).size());
      return entry.winding;
    }
  }
  return std::nullopt;
}

/// The clock number with each coil in its own place. A delta's coil lies between terminals k and
/// k + 1, so its voltage leads that of terminal k to the middle by 30 degrees.
int unplaced_clock(kvr_WindingType high, kvr_WindingType low) {
  if (is_star(high) == is_star(low)) {
    return 0;
  }
  return is_star(high) ? 1 : 11;
}

std::optional<CoilPlacing> placing(const VectorGroup& group) {
  for (const CoilPlacing candidate : {CoilPlacing{0, 1}, CoilPlacing{1, 1}, CoilPlacing{2, 1},
                                      CoilPlacing{0, -1}, CoilPlacing{1, -1}, CoilPlacing{2, -1}}) {
    const int clock =
        unplaced_clock(group.high, group.low) + 4 * candidate.shift + (candidate.sign < 0 ? 6 : 0);
    if (clock % 12 == group.clock) {
      return candidate;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<VectorGroup> parse_vector_group(std::string_view name) {
  const std::optional<kvr_WindingType> high = take_winding(name, &WindingName::high);
  const std::optional<kvr_WindingType> low = take_winding(name, &WindingName::low);
  int clock = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), clock);
  if (!high || !low || error != std::errc() || end != name.data() + name.size()) {
    return std::nullopt;
  }
  const VectorGroup group{*high, *low, clock};
  return placing(group) ? std::optional(group) : std::nullopt;
}

CoilPlacing low_side_placing(const VectorGroup& group) { return placing(group).value(); }

std::optional<double> turns_per_line_ratio(kvr_WindingType high, kvr_WindingType low) {
  const auto is_known = [](kvr_WindingType winding) {
    return is_star(winding) || winding == KVR_WINDING_D;
  };
  if (!is_known(high) || !is_known(low)) {
    return std::nullopt;
  }
  if (is_star(high) == is_star(low)) {
    return 1.0;
  }
  return is_star(high) ? 1 / std::numbers::sqrt3 : std::numbers::sqrt3;
}

}  // namespace virtual_instrument

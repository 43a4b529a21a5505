#include "virtual_instrument/store/vector_group_name.h"

#include <algorithm>
#include <cstdint>

#include "virtual_instrument/vocabulary/winding_letters.h"

namespace virtual_instrument {
namespace {

struct WindingPair {
  std::uint32_t connection_type;
  int high;
  int low;
};

constexpr WindingPair kWindingPairs[] = {
    {kConnectionHToX, 0, 1},
    {kConnectionHToY, 0, 2},
    {kConnectionXToY, 1, 2},
};

constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr float kShownFrom = 4;        // degrees
constexpr float kLargest = 1'000'000;  // degrees; limits invalid values to the range of an int

/// Shifts up to 4 degrees and negative ones are not shown.
std::string shift_text(float phase_shift) {
  auto degrees = static_cast<float>(double{phase_shift} * kDegreesPerRadian);
  if (degrees > 180) {
    degrees -= 360;
  } else if (degrees < -180) {
    degrees += 360;
  }
  if (!(degrees > kShownFrom)) {
    return {};
  }
  const auto whole = static_cast<std::int32_t>(std::min(degrees, kLargest) + 0.1F);
  return (phase_shift < 0 ? "" : "+") + std::to_string(whole);
}

}  // namespace

std::string vector_group_name(const kvr_TestSetup& setup) {
  for (const WindingPair& pair : kWindingPairs) {
    if (pair.connection_type == setup.connection_type) {
      const kvr_WindingSetup& high = setup.windings[pair.high];
      const kvr_WindingSetup& low = setup.windings[pair.low];
      const std::int32_t clock = setup.connections[setup.connection_type].clock;
      return std::string(letters_of(high.winding_type, &WindingLetters::high)) +
             letters_of(low.winding_type, &WindingLetters::low) +
             (clock == kClockUnknown ? "X" : std::to_string(clock)) + shift_text(low.phase_shift);
    }
  }
  return {};
}

}  // namespace virtual_instrument

#include "virtual_instrument/store/vector_group_name.h"

#include <algorithm>
#include <cstdint>

#include "virtual_instrument/model/winding_pair.h"
#include "virtual_instrument/vocabulary/winding_letters.h"

namespace virtual_instrument {
namespace {

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
  if (setup.connection_type > kConnectionXToY) {
    return {};
  }
  const kvr_WindingSetup& low = winding_of(setup, Side::low);
  const std::int32_t clock = connection_of(setup).clock;
  return std::string(
             letters_of(winding_of(setup, Side::high).winding_type, &WindingLetters::high)) +
         letters_of(low.winding_type, &WindingLetters::low) +
         (clock == kClockUnknown ? "X" : std::to_string(clock)) + shift_text(low.phase_shift);
}

}  // namespace virtual_instrument

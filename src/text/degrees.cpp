#include "text/degrees.h"

float folded_degrees(float radians) {
  constexpr double kDegreesPerRadian = 57.29577951308232;
  const auto degrees = static_cast<float>(static_cast<double>(radians) * kDegreesPerRadian);
  if (degrees > 180.0F) {
    return degrees - 360.0F;
  }
  return degrees < -180.0F ? degrees + 360.0F : degrees;
}

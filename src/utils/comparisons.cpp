#include <cmath>
#include <cstring>
#include <limits>

#include "utils/utils.h"

namespace {

template <class Number>
bool differ_by_less_than_epsilon(Number a, Number b) {
  return std::abs(a - b) < std::numeric_limits<Number>::epsilon();
}

}  // namespace

// The bound is absolute: from 1 on, only the same number is near.
bool Utils::near_equal(double a, double b) { return differ_by_less_than_epsilon(a, b); }

bool Utils::near_equal(float a, float b) { return differ_by_less_than_epsilon(a, b); }

// All bytes count, also those after the terminator.
bool Utils::equal_name(const char (&a)[31], const char (&b)[31]) {
  return std::memcmp(a, b, sizeof(a)) == 0;
}

bool Utils::equal_block(const ComparedBlock& a, const ComparedBlock& b) {
  return std::memcmp(a.bytes, b.bytes, sizeof(a.bytes)) == 0;
}

bool Utils::equal_limits(const ComparedLimits& a, const ComparedLimits& b) {
  return a.enabled == b.enabled && near_equal(a.first, b.first) && near_equal(a.second, b.second) &&
         near_equal(a.fourth, b.fourth) && near_equal(a.third, b.third);
}

// Bytes 5 and 15 don't count.
bool Utils::equal_settings(const ComparedSettings& a, const ComparedSettings& b) {
  return a.byte_4 == b.byte_4 && a.byte_6 == b.byte_6 && a.byte_7 == b.byte_7 &&
         a.value_8 == b.value_8 && a.byte_12 == b.byte_12 && a.byte_13 == b.byte_13 &&
         a.byte_14 == b.byte_14 && a.value_24 == b.value_24;
}

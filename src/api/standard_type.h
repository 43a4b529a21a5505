#pragma once

#include <cstdint>

/// Terminal labelling standards, named by the style of their marks.
enum kvr_StandardType : std::int32_t {
  KVR_STANDARD_H1H2 = 0,
  KVR_STANDARD_1U1V = 1,
  KVR_STANDARD_A2B2 = 2,
  KVR_STANDARD_AB = 3,
};

/// Terminal pair codes.
enum Measure : std::int32_t {
  MEASURE_AB = 1,
  MEASURE_BC = 2,
  MEASURE_CA = 3,
  MEASURE_AN = 4,
  MEASURE_BN = 5,
  MEASURE_CN = 6,
};

#pragma once

#include <cstdint>

// The enumerations that records carry. All are 32 bits wide on the wire, and any value can arrive:
// the words for them, with the words for unknown values, are in text/text_output.h.

enum kvr_TestType : std::uint32_t {
  KVR_TEST_UNDEFINED = 0,
  KVR_TEST_RATIO_DOWN = 1,
  KVR_TEST_RATIO_UP = 2,
  KVR_TEST_RATIO_AUTO = 4,
  KVR_TEST_RATIO_CT = 5,
  KVR_TEST_RATIO_PT_VT = 6,
  KVR_TEST_RESISTANCE = 8,
  KVR_TEST_RESISTANCE_CONT = 9,
  KVR_TEST_DEMAG = 10,
  KVR_TEST_SCI = 11,
  KVR_TEST_FRSL = 12,
  KVR_TEST_EFFICIENCY = 13,
  KVR_TEST_MBALANCE = 14,
  KVR_TEST_HEATRUN = 15,
  KVR_TEST_EXCITATION = 16,
  KVR_TEST_GONOGO = 17,
  KVR_TEST_DRM = 18,
};

enum kvr_WindingType : std::uint32_t {
  KVR_WINDING_UNDEFINED = 0,
  KVR_WINDING_D = 1,
  KVR_WINDING_Y = 2,
  KVR_WINDING_YN = 3,
  KVR_WINDING_Z = 4,
  KVR_WINDING_ZN = 5,
  KVR_WINDING_1P = 6,
  KVR_WINDING_MH = 8,
  KVR_WINDING_CT = 11,
  KVR_WINDING_PT = 12,
  KVR_WINDING_A = 13,
};

/// How a three-phase test excites and measures.
enum kvr_TestingMode : std::uint32_t {
  KVR_TESTING_MODE_1PH = 1,
  KVR_TESTING_MODE_3PH_3_3 = 2,
  KVR_TESTING_MODE_3PH_1_1 = 3,
  KVR_TESTING_MODE_3PH_3_1 = 4,
  KVR_TESTING_MODE_3PH_AUTO = 5,
};

enum kvr_HealthState : std::uint32_t {
  KVR_HEALTH_UNKNOWN = 0,
  KVR_HEALTH_EXCELLENT = 1,
  KVR_HEALTH_GOOD = 2,
  KVR_HEALTH_MODERATE = 3,
  KVR_HEALTH_BAD = 4,
};

/// What a resistance measurement is doing at one point.
enum kvr_PointState : std::uint32_t {
  KVR_POINT_IDLE = 0,
  KVR_POINT_CHARGING = 1,
  KVR_POINT_CHARGING_MEASURING = 2,
  KVR_POINT_STABILIZING = 3,
  KVR_POINT_STABLE = 4,
  KVR_POINT_HEATING = 5,
  KVR_POINT_DISCHARGING = 6,
  KVR_POINT_MANUAL_SAVED = 7,
  KVR_POINT_AUTO_SAVED = 8,
  KVR_POINT_MONITORING = 9,
  KVR_POINT_ERROR = 10,
  KVR_POINT_MEASURING_ONLY = 11,
};

enum kvr_TapChangerType : std::uint32_t {
  KVR_TAP_CHANGER_DETC = 1,
  KVR_TAP_CHANGER_OLTC = 2,
  KVR_TAP_CHANGER_NONE = 3,
};

enum kvr_NumberingScheme : std::uint32_t {
  KVR_NUMBERING_SEQUENTIAL = 0,
  KVR_NUMBERING_ABC = 1,
  KVR_NUMBERING_RNL = 2,
  KVR_NUMBERING_ZERO_INITIAL = 3,
  KVR_NUMBERING_CUSTOM = 4,
  KVR_NUMBERING_CONNECTION = 5,
};

enum kvr_LetterLabel : std::uint32_t {
  KVR_LETTER_U = 1,
  KVR_LETTER_V = 2,
  KVR_LETTER_W = 3,
  KVR_LETTER_X = 4,
  KVR_LETTER_Y = 5,
  KVR_LETTER_Z = 6,
  KVR_LETTER_CUSTOM = 7,
};

enum kvr_ConductorMaterial : std::uint32_t {
  KVR_CONDUCTOR_UNDEFINED = 0,
  KVR_CONDUCTOR_CU = 1,
  KVR_CONDUCTOR_AL = 2,
};

enum kvr_RecordOrigin : std::uint32_t {
  KVR_ORIGIN_QUICKTEST = 0,
  KVR_ORIGIN_TEST_FROM_TEMPLATE = 1,
  KVR_ORIGIN_TEMPLATE = 2,
};

/// A terminal of a transformer: 0 undefined, then H0 to H3, X0 to X3, Y0 to Y3.
enum kvr_Terminal : std::uint32_t {
  KVR_TERMINAL_UNDEFINED = 0,
  KVR_TERMINAL_H0 = 1,
  KVR_TERMINAL_X0 = 5,
  KVR_TERMINAL_Y0 = 9,
};

/// `connection_type` of a setup: which pair of windings a test joins.
constexpr std::uint32_t kConnectionHToX = 0;
constexpr std::uint32_t kConnectionHToY = 1;
constexpr std::uint32_t kConnectionXToY = 2;

/// `clock` of a connection whose vector group is not known.
constexpr std::int32_t kClockUnknown = 100;

/// `tested_phase` of a test of all three phases.
constexpr std::int32_t kAllPhases = 100;

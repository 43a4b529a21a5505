#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "api/enumerations.h"

// What a client asks a test call for. Wire formats: each offset is pinned below. A request starts
// as all-zero bytes; what is not written stays zero.

struct kvr_WindingSetup {
  kvr_WindingType winding_type;
  char reserved_4[36];
  float voltage;      ///< V
  float current;      ///< A
  float phase_shift;  ///< rad
  char reserved_52[28];
  kvr_TapChangerType tap_changer;
  std::int32_t winding_setting;  ///< always 1 in a request
  char reserved_88[4];
};

static_assert(std::is_trivially_copyable_v<kvr_WindingSetup>);
static_assert(offsetof(kvr_WindingSetup, winding_type) == 0);
static_assert(offsetof(kvr_WindingSetup, voltage) == 40);
static_assert(offsetof(kvr_WindingSetup, current) == 44);
static_assert(offsetof(kvr_WindingSetup, phase_shift) == 48);
static_assert(offsetof(kvr_WindingSetup, tap_changer) == 80);
static_assert(offsetof(kvr_WindingSetup, winding_setting) == 84);
static_assert(sizeof(kvr_WindingSetup) == 92);

struct kvr_ConnectionSetup {
  std::int32_t clock;  ///< vector group clock number, or kClockUnknown
  char reserved_4[4];
  float kva;
  char reserved_12[8];
};

static_assert(std::is_trivially_copyable_v<kvr_ConnectionSetup>);
static_assert(offsetof(kvr_ConnectionSetup, clock) == 0);
static_assert(offsetof(kvr_ConnectionSetup, kva) == 8);
static_assert(sizeof(kvr_ConnectionSetup) == 20);

/// What is tested: the windings H, X and Y and how they are joined. The same block stands in both
/// request bodies, in the record and in some results.
struct kvr_TestSetup {
  kvr_WindingSetup windings[3];
  char reserved_276[32];
  std::uint32_t connection_type;       ///< kConnectionHToX and its neighbours
  kvr_ConnectionSetup connections[3];  ///< one per connection_type
  std::int32_t line_frequency;         ///< Hz
  std::int32_t setup_value_a;
  char reserved_380[8];
  std::int32_t setup_value_b;
  char reserved_392[4];
  float temperature_from;  ///< measured, degrees C
  float temperature_to;    ///< corrected to, degrees C
  float setup_value_c;
  float setup_value_d;
  std::uint8_t setup_flag_a;
  std::uint8_t raw_data_requested;
  char reserved_414[2];
  std::uint8_t setup_flag_b;
  char reserved_417[3];
};

static_assert(std::is_trivially_copyable_v<kvr_TestSetup>);
static_assert(offsetof(kvr_TestSetup, windings) == 0);
static_assert(offsetof(kvr_TestSetup, connection_type) == 308);
static_assert(offsetof(kvr_TestSetup, connections) == 312);
static_assert(offsetof(kvr_TestSetup, line_frequency) == 372);
static_assert(offsetof(kvr_TestSetup, setup_value_a) == 376);
static_assert(offsetof(kvr_TestSetup, setup_value_b) == 388);
static_assert(offsetof(kvr_TestSetup, temperature_from) == 396);
static_assert(offsetof(kvr_TestSetup, temperature_to) == 400);
static_assert(offsetof(kvr_TestSetup, setup_value_c) == 404);
static_assert(offsetof(kvr_TestSetup, setup_value_d) == 408);
static_assert(offsetof(kvr_TestSetup, setup_flag_a) == 412);
static_assert(offsetof(kvr_TestSetup, raw_data_requested) == 413);
static_assert(offsetof(kvr_TestSetup, setup_flag_b) == 416);
static_assert(sizeof(kvr_TestSetup) == 420);

/// Size of the identifying texts at the head of a request and of a record, terminator included.
constexpr std::size_t kIdSize = 30;

/// Where the library keeps a test: in a new record, in the record of that ID, or nowhere.
enum kvr_SaveMode : std::int32_t {
  KVR_SAVE_NEW_RECORD = 1,
  KVR_SAVE_ADD_TO_RECORD = 2,
  KVR_SAVE_NOTHING = 3,
};

/// Head of a request, with the same first fields as the head of a record.
struct kvr_TestRequestHeader {
  char asset_id[kIdSize];
  char group_id[kIdSize];
  char record_id[kIdSize];
  char reserved_90[2];
  kvr_SaveMode save_mode;
  std::int32_t save_reserved;
};

static_assert(std::is_trivially_copyable_v<kvr_TestRequestHeader>);
static_assert(offsetof(kvr_TestRequestHeader, asset_id) == 0);
static_assert(offsetof(kvr_TestRequestHeader, group_id) == 30);
static_assert(offsetof(kvr_TestRequestHeader, record_id) == 60);
static_assert(offsetof(kvr_TestRequestHeader, save_mode) == 92);
static_assert(offsetof(kvr_TestRequestHeader, save_reserved) == 96);
static_assert(sizeof(kvr_TestRequestHeader) == 100);

/// Body of a single-phase ratio test.
struct kvr_Ratio1phRequest {
  kvr_TestType test_type;
  std::int32_t high_side_phase;  ///< terminal pair 1 to 6
  std::int32_t low_side_phase;   ///< terminal pair 1 to 6
  std::int32_t high_side_extra;
  std::int32_t low_side_extra;
  kvr_TestSetup setup;
  float test_voltage;  ///< V
  std::uint8_t request_flag_a;
  std::uint8_t request_flag_b;
  char reserved_446[2];
  float limit_a;
  float limit_b;
};

static_assert(std::is_trivially_copyable_v<kvr_Ratio1phRequest>);
static_assert(offsetof(kvr_Ratio1phRequest, test_type) == 0);
static_assert(offsetof(kvr_Ratio1phRequest, high_side_phase) == 4);
static_assert(offsetof(kvr_Ratio1phRequest, low_side_phase) == 8);
static_assert(offsetof(kvr_Ratio1phRequest, high_side_extra) == 12);
static_assert(offsetof(kvr_Ratio1phRequest, low_side_extra) == 16);
static_assert(offsetof(kvr_Ratio1phRequest, setup) == 20);
static_assert(offsetof(kvr_Ratio1phRequest, test_voltage) == 440);
static_assert(offsetof(kvr_Ratio1phRequest, request_flag_a) == 444);
static_assert(offsetof(kvr_Ratio1phRequest, request_flag_b) == 445);
static_assert(offsetof(kvr_Ratio1phRequest, limit_a) == 448);
static_assert(offsetof(kvr_Ratio1phRequest, limit_b) == 452);
static_assert(sizeof(kvr_Ratio1phRequest) == 456);

/// Body of a three-phase ratio test.
struct kvr_Ratio3phRequest {
  kvr_TestSetup setup;
  kvr_TestingMode testing_mode;
  kvr_TestType test_type;
  std::int32_t tested_phase;  ///< kAllPhases, or the index of one phase
  float test_voltage;         ///< V
  std::uint8_t request_flag_a;
  char reserved_437;
  std::uint8_t request_flag_b;
  char reserved_439;
  float limit_a;
  float limit_b;
};

static_assert(std::is_trivially_copyable_v<kvr_Ratio3phRequest>);
static_assert(offsetof(kvr_Ratio3phRequest, setup) == 0);
static_assert(offsetof(kvr_Ratio3phRequest, testing_mode) == 420);
static_assert(offsetof(kvr_Ratio3phRequest, test_type) == 424);
static_assert(offsetof(kvr_Ratio3phRequest, tested_phase) == 428);
static_assert(offsetof(kvr_Ratio3phRequest, test_voltage) == 432);
static_assert(offsetof(kvr_Ratio3phRequest, request_flag_a) == 436);
static_assert(offsetof(kvr_Ratio3phRequest, request_flag_b) == 438);
static_assert(offsetof(kvr_Ratio3phRequest, limit_a) == 440);
static_assert(offsetof(kvr_Ratio3phRequest, limit_b) == 444);
static_assert(sizeof(kvr_Ratio3phRequest) == 448);

#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "api/codes.h"
#include "api/enumerations.h"
#include "api/request_records.h"

// The result of a test. The client library builds and owns these records. They can be read until
// kvr_FreeTestRecord frees them with everything that hangs from them; keep no pointer longer. Wire
// formats: each offset is pinned below. Angles are radians; texts are NUL-terminated within their
// field; a pointer can be null where its comment says so.

/// Size of the short names in results: phases, terminals, points.
constexpr std::size_t kNameSize = 20;

/// One phase of a three-phase ratio test, or the whole of a single-phase one.
struct kvr_TestData_Ratio_Phase {
  char reserved_0[4];
  kvr_code status;  ///< KVR_RES_OK, KVR_RES_NOT_TESTED or a failure
  char reserved_8[12];
  char phase_name[kNameSize];
  char high_side_phase[kNameSize];
  char low_side_phase[kNameSize];
  char reserved_80[36];
  char tvr_name[kNameSize];
  char tvr_high[kNameSize];
  char tvr_low[kNameSize];
  char reserved_176[32];
  float voltage_h;   ///< V
  float voltage_x;   ///< V
  double tnr;        ///< turns ratio
  double tnr_error;  ///< percent
  double tvr;        ///< voltage ratio
  double true_ratio;
  double true_ratio_error;  ///< percent
  float frequency;          ///< Hz
  char reserved_260[8];
  float phase_high;                         ///< rad
  float phase_low;                          ///< rad
  float phase_shift_absolute;               ///< rad
  float phase_deviation_from_user_phasing;  ///< rad
  float efi;                                ///< rad
  float voltage_rms;                        ///< V
  float current_rms;                        ///< A
  float vol_rms_high;                       ///< V
  float vol_rms_low;                        ///< V
  float curr_h;                             ///< A
  float curr_x;                             ///< A
  char reserved_312[24];
  float induced_voltage;  ///< V
  char reserved_340[4];
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Ratio_Phase>);
static_assert(offsetof(kvr_TestData_Ratio_Phase, status) == 4);
static_assert(offsetof(kvr_TestData_Ratio_Phase, phase_name) == 20);
static_assert(offsetof(kvr_TestData_Ratio_Phase, high_side_phase) == 40);
static_assert(offsetof(kvr_TestData_Ratio_Phase, low_side_phase) == 60);
static_assert(offsetof(kvr_TestData_Ratio_Phase, tvr_name) == 116);
static_assert(offsetof(kvr_TestData_Ratio_Phase, tvr_high) == 136);
static_assert(offsetof(kvr_TestData_Ratio_Phase, tvr_low) == 156);
static_assert(offsetof(kvr_TestData_Ratio_Phase, voltage_h) == 208);
static_assert(offsetof(kvr_TestData_Ratio_Phase, voltage_x) == 212);
static_assert(offsetof(kvr_TestData_Ratio_Phase, tnr) == 216);
static_assert(offsetof(kvr_TestData_Ratio_Phase, tnr_error) == 224);
static_assert(offsetof(kvr_TestData_Ratio_Phase, tvr) == 232);
static_assert(offsetof(kvr_TestData_Ratio_Phase, true_ratio) == 240);
static_assert(offsetof(kvr_TestData_Ratio_Phase, true_ratio_error) == 248);
static_assert(offsetof(kvr_TestData_Ratio_Phase, frequency) == 256);
static_assert(offsetof(kvr_TestData_Ratio_Phase, phase_high) == 268);
static_assert(offsetof(kvr_TestData_Ratio_Phase, phase_low) == 272);
static_assert(offsetof(kvr_TestData_Ratio_Phase, phase_shift_absolute) == 276);
static_assert(offsetof(kvr_TestData_Ratio_Phase, phase_deviation_from_user_phasing) == 280);
static_assert(offsetof(kvr_TestData_Ratio_Phase, efi) == 284);
static_assert(offsetof(kvr_TestData_Ratio_Phase, voltage_rms) == 288);
static_assert(offsetof(kvr_TestData_Ratio_Phase, current_rms) == 292);
static_assert(offsetof(kvr_TestData_Ratio_Phase, vol_rms_high) == 296);
static_assert(offsetof(kvr_TestData_Ratio_Phase, vol_rms_low) == 300);
static_assert(offsetof(kvr_TestData_Ratio_Phase, curr_h) == 304);
static_assert(offsetof(kvr_TestData_Ratio_Phase, curr_x) == 308);
static_assert(offsetof(kvr_TestData_Ratio_Phase, induced_voltage) == 336);
static_assert(sizeof(kvr_TestData_Ratio_Phase) == 344);

/// A three-phase ratio result. From `setup` to `limit_b` it repeats the body of the request.
struct kvr_TestData_Ratio_3ph {
  char reserved_0[128];
  kvr_TestSetup setup;
  kvr_TestingMode testing_mode;
  kvr_TestType test_type;     ///< of a ratio_auto test: the direction that was settled
  std::int32_t tested_phase;  ///< kAllPhases, or the index of the one phase in `phases`
  float test_voltage;         ///< V
  std::uint8_t request_flag_a;
  char reserved_565;
  std::uint8_t request_flag_b;
  char reserved_567;
  float limit_a;
  float limit_b;
  double reference_ratio;  ///< 0 when no ratio was given to compare against
  double tvr_multiplier;
  kvr_TestData_Ratio_Phase phases[3];
  float zero_seq_hi;
  float zero_seq_lo;
  float zero_phase_hi;          ///< rad
  float zero_phase_lo;          ///< rad
  float zero_distortion_index;  ///< fraction
  float zero_distortion_phase;  ///< rad
  float negative_seq_hi;
  float negative_seq_lo;
  float negative_phase_hi;          ///< rad
  float negative_phase_lo;          ///< rad
  float negative_distortion_index;  ///< fraction
  float negative_distortion_phase;  ///< rad
  float positive_seq_hi;
  float positive_seq_lo;
  float positive_phase_hi;  ///< rad
  float positive_phase_lo;  ///< rad
  char reserved_1688[16];
  double ratio_3ph;
  double ratio_3ph_error;  ///< percent
  float phase_3ph;         ///< rad
  kvr_HealthState health_state;
  kvr_TestData_Ratio_3ph* step_up;    ///< nested result, may be null
  kvr_TestData_Ratio_3ph* step_down;  ///< nested result, may be null
  char reserved_1744[8];
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Ratio_3ph>);
static_assert(offsetof(kvr_TestData_Ratio_3ph, setup) == 128);
static_assert(offsetof(kvr_TestData_Ratio_3ph, testing_mode) == 548);
static_assert(offsetof(kvr_TestData_Ratio_3ph, test_type) == 552);
static_assert(offsetof(kvr_TestData_Ratio_3ph, tested_phase) == 556);
static_assert(offsetof(kvr_TestData_Ratio_3ph, test_voltage) == 560);
static_assert(offsetof(kvr_TestData_Ratio_3ph, request_flag_a) == 564);
static_assert(offsetof(kvr_TestData_Ratio_3ph, request_flag_b) == 566);
static_assert(offsetof(kvr_TestData_Ratio_3ph, limit_a) == 568);
static_assert(offsetof(kvr_TestData_Ratio_3ph, limit_b) == 572);
static_assert(offsetof(kvr_TestData_Ratio_3ph, reference_ratio) == 576);
static_assert(offsetof(kvr_TestData_Ratio_3ph, tvr_multiplier) == 584);
static_assert(offsetof(kvr_TestData_Ratio_3ph, phases) == 592);
static_assert(offsetof(kvr_TestData_Ratio_3ph, zero_seq_hi) == 1624);
static_assert(offsetof(kvr_TestData_Ratio_3ph, zero_seq_lo) == 1628);
static_assert(offsetof(kvr_TestData_Ratio_3ph, zero_phase_hi) == 1632);
static_assert(offsetof(kvr_TestData_Ratio_3ph, zero_phase_lo) == 1636);
static_assert(offsetof(kvr_TestData_Ratio_3ph, zero_distortion_index) == 1640);
static_assert(offsetof(kvr_TestData_Ratio_3ph, zero_distortion_phase) == 1644);
static_assert(offsetof(kvr_TestData_Ratio_3ph, negative_seq_hi) == 1648);
static_assert(offsetof(kvr_TestData_Ratio_3ph, negative_seq_lo) == 1652);
static_assert(offsetof(kvr_TestData_Ratio_3ph, negative_phase_hi) == 1656);
static_assert(offsetof(kvr_TestData_Ratio_3ph, negative_phase_lo) == 1660);
static_assert(offsetof(kvr_TestData_Ratio_3ph, negative_distortion_index) == 1664);
static_assert(offsetof(kvr_TestData_Ratio_3ph, negative_distortion_phase) == 1668);
static_assert(offsetof(kvr_TestData_Ratio_3ph, positive_seq_hi) == 1672);
static_assert(offsetof(kvr_TestData_Ratio_3ph, positive_seq_lo) == 1676);
static_assert(offsetof(kvr_TestData_Ratio_3ph, positive_phase_hi) == 1680);
static_assert(offsetof(kvr_TestData_Ratio_3ph, positive_phase_lo) == 1684);
static_assert(offsetof(kvr_TestData_Ratio_3ph, ratio_3ph) == 1704);
static_assert(offsetof(kvr_TestData_Ratio_3ph, ratio_3ph_error) == 1712);
static_assert(offsetof(kvr_TestData_Ratio_3ph, phase_3ph) == 1720);
static_assert(offsetof(kvr_TestData_Ratio_3ph, health_state) == 1724);
static_assert(offsetof(kvr_TestData_Ratio_3ph, step_up) == 1728);
static_assert(offsetof(kvr_TestData_Ratio_3ph, step_down) == 1736);
static_assert(sizeof(kvr_TestData_Ratio_3ph) == 1752);

/// A single-phase ratio result. From `direction` to `limit_b` it repeats the body of the request.
struct kvr_TestData_Ratio_1ph {
  char reserved_0[128];
  kvr_TestType direction;  ///< step down, step up or CT test; anything else is undefined
  std::int32_t high_side_phase;
  std::int32_t low_side_phase;
  std::int32_t high_side_extra;
  std::int32_t low_side_extra;
  kvr_TestSetup setup;
  float test_voltage;  ///< V
  std::uint8_t request_flag_a;
  std::uint8_t request_flag_b;
  char reserved_574[2];
  float limit_a;
  float limit_b;
  double reference_ratio;  ///< 0 when no ratio was given to compare against
  kvr_TestData_Ratio_Phase phase;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Ratio_1ph>);
static_assert(offsetof(kvr_TestData_Ratio_1ph, direction) == 128);
static_assert(offsetof(kvr_TestData_Ratio_1ph, high_side_phase) == 132);
static_assert(offsetof(kvr_TestData_Ratio_1ph, low_side_phase) == 136);
static_assert(offsetof(kvr_TestData_Ratio_1ph, high_side_extra) == 140);
static_assert(offsetof(kvr_TestData_Ratio_1ph, low_side_extra) == 144);
static_assert(offsetof(kvr_TestData_Ratio_1ph, setup) == 148);
static_assert(offsetof(kvr_TestData_Ratio_1ph, test_voltage) == 568);
static_assert(offsetof(kvr_TestData_Ratio_1ph, request_flag_a) == 572);
static_assert(offsetof(kvr_TestData_Ratio_1ph, request_flag_b) == 573);
static_assert(offsetof(kvr_TestData_Ratio_1ph, limit_a) == 576);
static_assert(offsetof(kvr_TestData_Ratio_1ph, limit_b) == 580);
static_assert(offsetof(kvr_TestData_Ratio_1ph, reference_ratio) == 584);
static_assert(offsetof(kvr_TestData_Ratio_1ph, phase) == 592);
static_assert(sizeof(kvr_TestData_Ratio_1ph) == 936);

struct kvr_TestData_Impedance_Phase {
  std::uint8_t corrected;  ///< temperature corrections were applied
  char reserved_1[3];
  kvr_code status;
  char reserved_8[12];
  char phase_name[kNameSize];
  char high_side_phase[kNameSize];
  char low_side_phase[kNameSize];
  char reserved_80[32];
  double v_ratio;
  char reserved_120[4];
  float test_frequency;  ///< Hz
  float rs;              ///< ohm
  float xs;              ///< ohm
  float power_factor;
  float inductance;   ///< H
  float capacitance;  ///< F
  char reserved_148[4];
  double z;  ///< ohm
  char reserved_160[8];
  double z_percent;
  double z_percent_error;
  char reserved_184[16];
  float curr_rms;  ///< A
  char reserved_204[44];
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Impedance_Phase>);
static_assert(offsetof(kvr_TestData_Impedance_Phase, corrected) == 0);
static_assert(offsetof(kvr_TestData_Impedance_Phase, status) == 4);
static_assert(offsetof(kvr_TestData_Impedance_Phase, phase_name) == 20);
static_assert(offsetof(kvr_TestData_Impedance_Phase, high_side_phase) == 40);
static_assert(offsetof(kvr_TestData_Impedance_Phase, low_side_phase) == 60);
static_assert(offsetof(kvr_TestData_Impedance_Phase, v_ratio) == 112);
static_assert(offsetof(kvr_TestData_Impedance_Phase, test_frequency) == 124);
static_assert(offsetof(kvr_TestData_Impedance_Phase, rs) == 128);
static_assert(offsetof(kvr_TestData_Impedance_Phase, xs) == 132);
static_assert(offsetof(kvr_TestData_Impedance_Phase, power_factor) == 136);
static_assert(offsetof(kvr_TestData_Impedance_Phase, inductance) == 140);
static_assert(offsetof(kvr_TestData_Impedance_Phase, capacitance) == 144);
static_assert(offsetof(kvr_TestData_Impedance_Phase, z) == 152);
static_assert(offsetof(kvr_TestData_Impedance_Phase, z_percent) == 168);
static_assert(offsetof(kvr_TestData_Impedance_Phase, z_percent_error) == 176);
static_assert(offsetof(kvr_TestData_Impedance_Phase, curr_rms) == 200);
static_assert(sizeof(kvr_TestData_Impedance_Phase) == 248);

struct kvr_TestData_Impedance_SingleTest {
  char reserved_0[8];
  kvr_TestData_Impedance_Phase phases[3];
  std::int32_t phase_mode;  ///< 1 for a single-phase result, in phases[0]
  char reserved_756[8];
  float avg_power_factor;
  char reserved_768[8];
  double avg_z;  ///< ohm
  char reserved_784[8];
  double avg_z_percent;
  char reserved_800[24];
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Impedance_SingleTest>);
static_assert(offsetof(kvr_TestData_Impedance_SingleTest, phases) == 8);
static_assert(offsetof(kvr_TestData_Impedance_SingleTest, phase_mode) == 752);
static_assert(offsetof(kvr_TestData_Impedance_SingleTest, avg_power_factor) == 764);
static_assert(offsetof(kvr_TestData_Impedance_SingleTest, avg_z) == 776);
static_assert(offsetof(kvr_TestData_Impedance_SingleTest, avg_z_percent) == 792);
static_assert(sizeof(kvr_TestData_Impedance_SingleTest) == 824);

struct kvr_TestData_Impedance_List {
  kvr_TestData_Impedance_SingleTest* tests;  ///< contiguous array
  std::uint32_t count;
};

static_assert(offsetof(kvr_TestData_Impedance_List, tests) == 0);
static_assert(offsetof(kvr_TestData_Impedance_List, count) == 8);
static_assert(sizeof(kvr_TestData_Impedance_List) == 16);

struct kvr_TestData_Impedance {
  char reserved_0[128];
  kvr_TestType test_type;  ///< sci or frsl
  char reserved_132[12];
  kvr_TestSetup setup;
  char reserved_564[92];
  kvr_TestData_Impedance_List* tests;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Impedance>);
static_assert(offsetof(kvr_TestData_Impedance, test_type) == 128);
static_assert(offsetof(kvr_TestData_Impedance, setup) == 144);
static_assert(offsetof(kvr_TestData_Impedance, setup.temperature_from) == 540);
static_assert(offsetof(kvr_TestData_Impedance, setup.temperature_to) == 544);
static_assert(offsetof(kvr_TestData_Impedance, tests) == 656);
static_assert(sizeof(kvr_TestData_Impedance) == 664);

struct kvr_TestData_Efficiency_Phase {
  std::uint8_t corrected;  ///< temperature corrections were applied
  char reserved_1[3];
  kvr_code status;
  char reserved_8[4];
  char phase_name[kNameSize];
  char high_side_phase[kNameSize];
  char low_side_phase[kNameSize];
  char reserved_72[44];
  float ratio_tnr;
  float load_rs_line;                      ///< ohm
  float load_rs_zero;                      ///< ohm
  float load_i2r;                          ///< W
  float load_stray_eddy;                   ///< W
  float load_losses;                       ///< W
  float no_load_losses;                    ///< W
  float total_losses;                      ///< W
  float hysteresis;                        ///< W
  float eddy_current;                      ///< W
  float i2r_no_load;                       ///< W
  float noload_eddy_resistance_measured;   ///< ohm
  float noload_eddy_resistance_corrected;  ///< ohm
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Efficiency_Phase>);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, corrected) == 0);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, status) == 4);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, phase_name) == 12);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, high_side_phase) == 32);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, low_side_phase) == 52);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, ratio_tnr) == 116);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, load_rs_line) == 120);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, load_rs_zero) == 124);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, load_i2r) == 128);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, load_stray_eddy) == 132);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, load_losses) == 136);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, no_load_losses) == 140);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, total_losses) == 144);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, hysteresis) == 148);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, eddy_current) == 152);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, i2r_no_load) == 156);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, noload_eddy_resistance_measured) == 160);
static_assert(offsetof(kvr_TestData_Efficiency_Phase, noload_eddy_resistance_corrected) == 164);
static_assert(sizeof(kvr_TestData_Efficiency_Phase) == 168);

struct kvr_TestData_Efficiency {
  char reserved_0[112];
  std::uint32_t duration_ms;
  char reserved_116[12];
  kvr_TestSetup setup;
  std::uint8_t fast_mode;
  char reserved_549[19];
  kvr_TestData_Efficiency_Phase phases[3];  ///< phases[0] also carries a single-phase result
  float total_load_losses;                  ///< W
  float total_no_load_losses;               ///< W
  float total_eddy_current;                 ///< W
  float total_hysteresis;                   ///< W
  float total_losses;                       ///< W
  float efficiency_percent;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Efficiency>);
static_assert(offsetof(kvr_TestData_Efficiency, duration_ms) == 112);
static_assert(offsetof(kvr_TestData_Efficiency, setup) == 128);
static_assert(offsetof(kvr_TestData_Efficiency, setup.line_frequency) == 500);
static_assert(offsetof(kvr_TestData_Efficiency, setup.temperature_from) == 524);
static_assert(offsetof(kvr_TestData_Efficiency, setup.temperature_to) == 528);
static_assert(offsetof(kvr_TestData_Efficiency, fast_mode) == 548);
static_assert(offsetof(kvr_TestData_Efficiency, phases) == 568);
static_assert(offsetof(kvr_TestData_Efficiency, total_load_losses) == 1072);
static_assert(offsetof(kvr_TestData_Efficiency, total_no_load_losses) == 1076);
static_assert(offsetof(kvr_TestData_Efficiency, total_eddy_current) == 1080);
static_assert(offsetof(kvr_TestData_Efficiency, total_hysteresis) == 1084);
static_assert(offsetof(kvr_TestData_Efficiency, total_losses) == 1088);
static_assert(offsetof(kvr_TestData_Efficiency, efficiency_percent) == 1092);

/// A tap change seen while a point was measured. The library allocates 24 bytes for it.
struct kvr_TestData_Transition {
  kvr_code status;
  std::int32_t from;
  std::int32_t to;
  char reserved_12[12];
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Transition>);
static_assert(offsetof(kvr_TestData_Transition, status) == 0);
static_assert(offsetof(kvr_TestData_Transition, from) == 4);
static_assert(offsetof(kvr_TestData_Transition, to) == 8);
static_assert(sizeof(kvr_TestData_Transition) == 24);

/// One resistance measurement.
struct kvr_TestData_Point {
  char reserved_0[16];
  char name[kNameSize];  ///< terminals
  kvr_PointState state;
  kvr_code error;                  ///< KVR_RES_OK when none
  std::uint32_t stabilization_ms;  ///< meaningful in KVR_POINT_STABLE
  char reserved_48[4];
  float ii;  ///< A
  float ua;  ///< V
  float ia;  ///< A
  char reserved_64[8];
  float stability;  ///< percent
  char reserved_76[12];
  double rm;  ///< ohm
  char reserved_96[8];
  kvr_TestData_Transition* transition;  ///< may be null
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Point>);
static_assert(offsetof(kvr_TestData_Point, name) == 16);
static_assert(offsetof(kvr_TestData_Point, state) == 36);
static_assert(offsetof(kvr_TestData_Point, error) == 40);
static_assert(offsetof(kvr_TestData_Point, stabilization_ms) == 44);
static_assert(offsetof(kvr_TestData_Point, ii) == 52);
static_assert(offsetof(kvr_TestData_Point, ua) == 56);
static_assert(offsetof(kvr_TestData_Point, ia) == 60);
static_assert(offsetof(kvr_TestData_Point, stability) == 72);
static_assert(offsetof(kvr_TestData_Point, rm) == 88);
static_assert(offsetof(kvr_TestData_Point, transition) == 104);
static_assert(sizeof(kvr_TestData_Point) == 112);

struct kvr_TestData_Tap {
  std::int32_t tap;  ///< tap position
  char reserved_4[4];
  kvr_TestData_Point** points;  ///< entries may be null
  std::uint32_t point_count;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Tap>);
static_assert(offsetof(kvr_TestData_Tap, tap) == 0);
static_assert(offsetof(kvr_TestData_Tap, points) == 8);
static_assert(offsetof(kvr_TestData_Tap, point_count) == 16);
static_assert(sizeof(kvr_TestData_Tap) == 24);

struct kvr_TestData_Taps {
  kvr_TestData_Tap** taps;  ///< may be null, and so may its entries
  std::uint32_t count;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Taps>);
static_assert(offsetof(kvr_TestData_Taps, taps) == 0);
static_assert(offsetof(kvr_TestData_Taps, count) == 8);
static_assert(sizeof(kvr_TestData_Taps) == 16);

/// The taps measured on each side; each may be null.
struct kvr_TestData_Sides {
  kvr_TestData_Taps* primary;
  kvr_TestData_Taps* secondary;
  kvr_TestData_Taps* tertiary;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Sides>);
static_assert(offsetof(kvr_TestData_Sides, primary) == 0);
static_assert(offsetof(kvr_TestData_Sides, secondary) == 8);
static_assert(offsetof(kvr_TestData_Sides, tertiary) == 16);
static_assert(sizeof(kvr_TestData_Sides) == 24);

/// A resistance, continuous resistance or heat run result.
struct kvr_TestData_Resistance {
  char reserved_0[112];
  std::uint32_t duration_ms;
  char reserved_116[508];
  kvr_TestData_Sides* sides;  ///< may be null
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Resistance>);
static_assert(offsetof(kvr_TestData_Resistance, duration_ms) == 112);
static_assert(offsetof(kvr_TestData_Resistance, sides) == 624);
static_assert(sizeof(kvr_TestData_Resistance) == 632);

struct kvr_TestData_Demag_Phase {
  char reserved_0[16];
  char demag_phase[32];
  float remanence_initial;      ///< fraction
  float remanence_after_demag;  ///< fraction
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Demag_Phase>);
static_assert(offsetof(kvr_TestData_Demag_Phase, demag_phase) == 16);
static_assert(offsetof(kvr_TestData_Demag_Phase, remanence_initial) == 48);
static_assert(offsetof(kvr_TestData_Demag_Phase, remanence_after_demag) == 52);

struct kvr_TestData_Demag {
  char reserved_0[112];
  std::uint32_t duration_ms;
  char reserved_116[444];
  kvr_TestData_Demag_Phase** phases;  ///< entries may be null
  std::uint32_t phase_count;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Demag>);
static_assert(offsetof(kvr_TestData_Demag, duration_ms) == 112);
static_assert(offsetof(kvr_TestData_Demag, phases) == 560);
static_assert(offsetof(kvr_TestData_Demag, phase_count) == 568);

/// One value of a magnetic balance row; the values lie eight bytes apart.
struct kvr_TestData_MagneticBalance_Cell {
  float value;
  char reserved_4[4];
};

struct kvr_TestData_MagneticBalance_Row {
  char reserved_0[132];
  char high_label[kNameSize];
  char low_label[kNameSize];
  char reserved_172[168];
  kvr_TestData_MagneticBalance_Cell cell[3];
  float total;
  char reserved_368[16];
};

static_assert(sizeof(kvr_TestData_MagneticBalance_Cell) == 8);
static_assert(sizeof(kvr_TestData_MagneticBalance_Row) == 384);

struct kvr_TestData_MagneticBalance {
  char reserved_0[556];
  std::uint32_t side;  ///< 0 selects the low-side labels, anything else the high-side labels
  char reserved_560[4];
  kvr_TestData_MagneticBalance_Row rows[3];
  float max_imbalance;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_MagneticBalance>);
static_assert(offsetof(kvr_TestData_MagneticBalance, side) == 556);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[0].high_label) == 696);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[0].low_label) == 716);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[0].cell[0].value) == 904);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[0].cell[2].value) == 920);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[0].total) == 928);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[2].high_label) == 1464);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[2].low_label) == 1484);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[2].cell[0].value) == 1672);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[2].cell[2].value) == 1688);
static_assert(offsetof(kvr_TestData_MagneticBalance, rows[2].total) == 1696);
static_assert(offsetof(kvr_TestData_MagneticBalance, max_imbalance) == 1716);
static_assert(sizeof(kvr_TestData_MagneticBalance) == 1720);

struct kvr_TestData_Drm_Transition {
  char reserved_0[12];
  std::uint32_t start_time;
  std::uint32_t end_time;
};

static_assert(offsetof(kvr_TestData_Drm_Transition, start_time) == 12);
static_assert(offsetof(kvr_TestData_Drm_Transition, end_time) == 16);

/// A dynamic resistance result.
struct kvr_TestData_Drm {
  char reserved_0[632];
  kvr_TestData_Drm_Transition* first_transition;  ///< null means no data
  char reserved_640[8];
  std::uint32_t transition_count;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_Drm>);
static_assert(offsetof(kvr_TestData_Drm, first_transition) == 632);
static_assert(offsetof(kvr_TestData_Drm, transition_count) == 648);

struct kvr_TestData_GoNoGo {
  char reserved_0[656];
  kvr_code status_open_circuit;
  kvr_code status_short_circuit;
  kvr_code status_minimum_inductance;
};

static_assert(std::is_trivially_copyable_v<kvr_TestData_GoNoGo>);
static_assert(offsetof(kvr_TestData_GoNoGo, status_open_circuit) == 656);
static_assert(offsetof(kvr_TestData_GoNoGo, status_short_circuit) == 660);
static_assert(offsetof(kvr_TestData_GoNoGo, status_minimum_inductance) == 664);

/// A finished test. Readers use only the array that `test_type` names; the others may be null.
/// `test_count` and `data_count` are two fields on purpose: the export walks the first, the result
/// text walks the second.
struct kvr_TestRecord {
  char asset_id[kIdSize];
  char group_id[kIdSize];
  char record_id[kIdSize];
  char reserved_90[2];
  kvr_SaveMode save_mode;
  char reserved_96[28];
  std::uint32_t test_count;  ///< tests of the record; 0 means that it holds no results
  char reserved_128[4];
  kvr_TestType test_type;
  kvr_TestSetup setup;
  char reserved_556;
  char timestamp[35];
  kvr_TestData_Ratio_3ph** data_ratio_3ph;
  kvr_TestData_Ratio_1ph** data_ratio_1ph;
  kvr_TestData_MagneticBalance** data_mbalance;
  kvr_TestData_Resistance** data_resistance;  ///< resistance and resistance_cont
  kvr_TestData_Demag** data_demag;
  kvr_TestData_Efficiency** data_efficiency;
  kvr_TestData_Impedance** data_impedance;  ///< sci and frsl
  kvr_TestData_Drm** data_drm;
  kvr_TestData_Resistance** data_heatrun;
  kvr_TestData_GoNoGo** data_gonogo;
  std::uint32_t data_count;  ///< entries of each array
  char reserved_676[4];
  const char* raw_data;  ///< text of the run's samples, may be null
  char reserved_688[8];
};

static_assert(std::is_trivially_copyable_v<kvr_TestRecord>);
static_assert(offsetof(kvr_TestRecord, asset_id) == 0);
static_assert(offsetof(kvr_TestRecord, group_id) == 30);
static_assert(offsetof(kvr_TestRecord, record_id) == 60);
static_assert(offsetof(kvr_TestRecord, save_mode) == 92);
static_assert(offsetof(kvr_TestRecord, test_count) == 124);
static_assert(offsetof(kvr_TestRecord, test_type) == 132);
static_assert(offsetof(kvr_TestRecord, setup) == 136);
static_assert(offsetof(kvr_TestRecord, timestamp) == 557);
static_assert(offsetof(kvr_TestRecord, data_ratio_3ph) == 592);
static_assert(offsetof(kvr_TestRecord, data_ratio_1ph) == 600);
static_assert(offsetof(kvr_TestRecord, data_mbalance) == 608);
static_assert(offsetof(kvr_TestRecord, data_resistance) == 616);
static_assert(offsetof(kvr_TestRecord, data_demag) == 624);
static_assert(offsetof(kvr_TestRecord, data_efficiency) == 632);
static_assert(offsetof(kvr_TestRecord, data_impedance) == 640);
static_assert(offsetof(kvr_TestRecord, data_drm) == 648);
static_assert(offsetof(kvr_TestRecord, data_heatrun) == 656);
static_assert(offsetof(kvr_TestRecord, data_gonogo) == 664);
static_assert(offsetof(kvr_TestRecord, data_count) == 672);
static_assert(offsetof(kvr_TestRecord, raw_data) == 680);
static_assert(sizeof(kvr_TestRecord) == 696);

/// One entry of the list of stored records: the head of its record. It is a type of its own because
/// the entries lie packed, 580 bytes apart, where a kvr_TestRecord would be misaligned.
struct kvr_TestLabel {
  char asset_id[kIdSize];
  char group_id[kIdSize];
  char record_id[kIdSize];
  char reserved_90[2];
  kvr_SaveMode save_mode;
  char reserved_96[28];
  std::uint32_t test_count;
  char reserved_128[4];
  kvr_TestType test_type;
  kvr_TestSetup setup;
  char reserved_556;
  char timestamp[23];
};

static_assert(std::is_trivially_copyable_v<kvr_TestLabel>);
static_assert(offsetof(kvr_TestLabel, asset_id) == offsetof(kvr_TestRecord, asset_id));
static_assert(offsetof(kvr_TestLabel, group_id) == offsetof(kvr_TestRecord, group_id));
static_assert(offsetof(kvr_TestLabel, record_id) == offsetof(kvr_TestRecord, record_id));
static_assert(offsetof(kvr_TestLabel, save_mode) == offsetof(kvr_TestRecord, save_mode));
static_assert(offsetof(kvr_TestLabel, test_count) == offsetof(kvr_TestRecord, test_count));
static_assert(offsetof(kvr_TestLabel, test_type) == offsetof(kvr_TestRecord, test_type));
static_assert(offsetof(kvr_TestLabel, setup) == offsetof(kvr_TestRecord, setup));
static_assert(offsetof(kvr_TestLabel, timestamp) == offsetof(kvr_TestRecord, timestamp));
static_assert(alignof(kvr_TestLabel) == 4);
static_assert(sizeof(kvr_TestLabel) == 580);

/// The list of stored records, owned by the library.
struct kvr_TestLabelsList {
  kvr_TestLabel* entries;
  std::uint32_t count;
};

static_assert(offsetof(kvr_TestLabelsList, entries) == 0);
static_assert(offsetof(kvr_TestLabelsList, count) == 8);
static_assert(sizeof(kvr_TestLabelsList) == 16);

/// What a running resistance test has saved so far. No call of the library delivers it to this
/// program; ProgressToText renders it.
struct kvr_TestData_Progress {
  char reserved_0[4];
  std::uint32_t saved;  ///< 2 partial phase, 3 full phase, 4 test completed
  char reserved_8[20];
  std::int32_t tap;
  std::int32_t tap_count;
  char reserved_36[60];
  kvr_TestData_Point** points;  ///< entries may be null
  std::uint32_t point_count;
  kvr_code status;
};

static_assert(offsetof(kvr_TestData_Progress, saved) == 4);
static_assert(offsetof(kvr_TestData_Progress, tap) == 28);
static_assert(offsetof(kvr_TestData_Progress, tap_count) == 32);
static_assert(offsetof(kvr_TestData_Progress, points) == 96);
static_assert(offsetof(kvr_TestData_Progress, point_count) == 104);
static_assert(offsetof(kvr_TestData_Progress, status) == 108);

/// Two terminals of a measurement.
struct kvr_TerminalPair {
  kvr_Terminal first;
  kvr_Terminal second;
};

static_assert(offsetof(kvr_TerminalPair, first) == 0);
static_assert(offsetof(kvr_TerminalPair, second) == 4);
static_assert(sizeof(kvr_TerminalPair) == 8);

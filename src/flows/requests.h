#pragma once

#include <cstdint>
#include <string>

#include "api/request_records.h"

// What the flows ask of the library. Each request starts as zero bytes; the constants here are the
// same on every test.

/// A body with its constants; the flow fills in what the operator answered.
kvr_Ratio1phRequest make_ratio_1ph_request();
kvr_Ratio3phRequest make_ratio_3ph_request();

/// Stores the nameplate ratio N:1 as rated voltages: N on the H winding, 1 on the X winding.
void set_nameplate_ratio(kvr_TestSetup& setup, double ratio);

/// Store how the low side is shifted against the high side: by a clock number, kClockUnknown
/// included, or by an absolute angle.
void set_clock(kvr_TestSetup& setup, std::int32_t clock);
void set_phase_shift(kvr_TestSetup& setup, double degrees);

/// Where the library keeps a test of a run, by the instrument's status when the main menu was last
/// shown: nowhere if its store can't be written, in the record of the run for a later test of a
/// series, else in a new record.
kvr_SaveMode save_mode_for(bool first, bool series);

/// The head of a test. Without a test ID nothing is kept, whatever `save_mode` says. Throws
/// KVR_RES_TEXT_TOO_LONG for an ID that does not fit.
kvr_TestRequestHeader make_request_header(const std::string& test_id, kvr_SaveMode save_mode);

#pragma once

#include "api/request_records.h"
#include "flows/voltage_run.h"

/// The single-phase ratio test: its dialogue, its run, its files. Throws
/// KVR_RES_INSTRUMENT_TYPE_NOT_SUPPORTED for an instrument of an undefined type.
void Single_Phase();

/// The tests of `request`, which it refers to, for a run. Changes `raw_data_requested` and, test by
/// test, `test_voltage`.
RatioTestKind ratio_1ph_tests(kvr_Ratio1phRequest& request);

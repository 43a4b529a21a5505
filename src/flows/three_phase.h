#pragma once

#include <string>

#include "api/request_records.h"
#include "flows/voltage_plan.h"
#include "flows/voltage_run.h"

// The three-phase ratio test. No item of the console tester's main menu leads here; the workbench's
// menu does.

/// The dialogue of a three-phase test, and its run.
void three_phase_menu();

/// Runs a plan of three-phase tests. Changes `raw_data_requested` and `test_voltage` of the
/// request. `columns` is the column line of the series file. The test_method of an entry is
/// ignored.
void run_ratio_3ph_plan(kvr_Ratio3phRequest* request, const VoltagePlan& plan,
                        const std::string& columns, bool database_allowed);

/// The tests of `request`, which it refers to, for a run; as run_ratio_3ph_plan runs them.
RatioTestKind ratio_3ph_tests(kvr_Ratio3phRequest& request, bool database_allowed);

/// Asks for the phasing until the answer converts: a clock number, an angle ("15d"), or nothing for
/// unknown.
void prompt_phasing(kvr_Ratio3phRequest* request);

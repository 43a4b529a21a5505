#pragma once

#include "api/session_records.h"
#include "record_form/record_nest.h"
#include "report/facts/facts.h"

// What a client library hands out, as facts: for tapes, and for plans while they run.

namespace report {

/// What an instrument says about itself. Its type is a number without a name, so it is left to
/// report.toml; a date of calibration that no instrument of today can mean is not stated.
Instrument instrument_of(const kvr_DeviceInfo& device);

/// What it says about its calibration beyond the date, as remarks.
std::vector<std::string> calibration_remarks(const kvr_DeviceInfo& device);

/// The records of a run's tests as one. Each says how many tests are stored under its ID until
/// then, so their counts don't add up. `parts` must not be empty.
RecordNest joined_run(std::vector<RecordNest> parts);

}  // namespace report

#pragma once

#include <string>

#include "support/record_text.h"

// The records that the benchmarks render.

/// A record of tests/golden/records. Throws std::runtime_error when it can't be read.
OwnedRecord golden_record(const std::string& name);

/// An impedance record of thirty three-phase tests, like a sweep over frequencies.
OwnedRecord impedance_sweep();

// Ratio records of one test whose numbers have as many digits as measured ones.

OwnedRecord three_phase_ratio();
OwnedRecord single_phase_ratio();

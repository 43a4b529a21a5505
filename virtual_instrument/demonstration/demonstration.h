#pragma once

#include <cstdint>
#include <vector>

#include "record_form/record_nest.h"
#include "virtual_instrument/model/transformer_unit.h"
#include "virtual_instrument/store/sqlite_store.h"

// A day with one transformer: a record of each kind that the instrument can store, as examples that
// need no test. The model of the tests computes all of them, so the figures agree with each other
// and are the same each time.

namespace virtual_instrument {

/// 500 kVA, 11/0.433 kV, Dyn11, 50 Hz, with an on-load tap changer on the high side and residual
/// flux from its last switching off.
TransformerUnit demonstration_unit();

struct DemonstrationRecord {
  RecordNest record;
  std::int64_t time;  ///< seconds since 1970
};

/// The records in the order of the day. Throws std::runtime_error if a test has no result.
std::vector<DemonstrationRecord> demonstration_records();

/// Fills `store` if it is empty, and changes nothing if it is not.
kvr_code fill_with_demonstration(SqliteStore& store);

}  // namespace virtual_instrument

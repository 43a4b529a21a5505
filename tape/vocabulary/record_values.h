#pragma once

#include "record_form/record_nest.h"
#include "tape/vocabulary/event.h"

namespace tape {

/// The record that a value keeps, with its raw data. Null for a value without content, or with one
/// that is no record's. Of a head alone nothing hangs.
RecordNest kept_record(const Value& value);

}  // namespace tape

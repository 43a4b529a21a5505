#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "api/result_records.h"

// A test record with everything that hangs from it, owned as a whole. Every record, and every
// array, of a nest comes from its own new or new[]; texts come from new char[].

/// Frees a record with all that hangs from it; null is allowed.
void free_record(kvr_TestRecord* record);

struct FreeRecord {
  void operator()(kvr_TestRecord* record) const { free_record(record); }
};
using RecordNest = std::unique_ptr<kvr_TestRecord, FreeRecord>;

/// A text as a record holds it.
const char* new_text(std::string_view text);

/// The head of a record as lists show it. Its timestamp field is shorter than the record's, so a
/// long timestamp is cut.
kvr_TestLabel label_of(const kvr_TestRecord& record);

/// The name of the family of tests that a record holds results of, or "none". Tests of different
/// families can't share a record: its arrays run side by side.
std::string_view family_of(const kvr_TestRecord& record);

/// Whether a reader of a record of that type uses the array of that family.
bool type_names_family(kvr_TestType type, std::string_view family);

/// One record with the tests of all `parts`, in order, under the head of the first; raw data texts
/// are joined. `parts` must not be empty.
RecordNest join_records(std::vector<RecordNest> parts);

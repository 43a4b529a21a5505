#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "api/request_records.h"
#include "api/result_records.h"

// Test records as the virtual instrument holds them, and their way across the boundary: values in
// here, nests of pointers out there.

namespace virtual_instrument {

/// What a list tells of a record.
struct RecordHead {
  std::string asset_id;
  std::string group_id;
  std::string record_id;
  kvr_SaveMode save_mode;
  kvr_TestType test_type;
  kvr_TestSetup setup;
  std::int64_t time;  ///< of its first test, in seconds since 1970
  std::uint32_t test_count;
};

struct RecordedTest {
  std::variant<kvr_TestData_Ratio_1ph, kvr_TestData_Ratio_3ph> data;  ///< with nothing nested
  std::string raw_data;
};

/// `tests` holds what is handed over, which can be fewer than `head.test_count`: a test call gives
/// the record with its new test alone. All of them are of one kind.
struct Record {
  RecordHead head;
  std::vector<RecordedTest> tests;
};

/// Makes a record as the client takes it. `with_raw_data` false leaves its text null. To be given
/// back to free_wire_record().
kvr_TestRecord* make_wire_record(const Record& record, bool with_raw_data);

/// Frees a record and all that hangs from it; null is fine.
void free_wire_record(kvr_TestRecord* record);

/// Makes a list whose entries are one new[] and which is itself one new: the client's export gives
/// it back by delete[] and delete.
kvr_TestLabelsList* make_wire_list(const std::vector<RecordHead>& heads);
void free_wire_list(kvr_TestLabelsList* list);

/// Puts `heads` in the order of a list: by one of the sort keys of kvr_ListRecords, and by ID where
/// that is equal. Vector groups go by windings, then by clock number. False for an unknown key.
bool sort_heads(std::vector<RecordHead>& heads, std::int32_t sort_key, bool ascending);

}  // namespace virtual_instrument

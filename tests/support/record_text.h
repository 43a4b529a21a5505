#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "api/result_records.h"

// Whole result records from readable text, one field per line:
//
//   # a comment
//   record_id = T1
//   test_type = 4
//   data_count = 1
//   data_ratio_3ph[0].step_up.phases[1].status = 156
//   data_resistance[0].sides.primary.taps[0].points[1].transition.status = 7
//   data_demag[1] = null
//
// Paths are the names of api/result_records.h. What a path goes through is allocated; an array of
// the library's is as long as the highest index used in the text, with null entries between.
// Everything unwritten is zero, counts too. Numbers are decimal or hexadecimal (0x10, 0x1.8p-3),
// nan and inf with or without a sign. A text begins after the one blank that follows "=" and runs
// to the end of its line; \n, \t, \\ and \xNN are escapes. It may fill its field to the last byte.
//
// Blanks before a path and empty lines don't matter.

/// Memory for records and all that hangs from them: each piece is a block of its own, so that
/// sanitizers find a read beyond one. All bytes start as zero.
class RecordArena {
 public:
  template <typename Record>
  Record* make() {
    return make_array<Record>(1);
  }
  template <typename Record>
  Record* make_array(std::size_t count) {
    return static_cast<Record*>(static_cast<void*>(allocate(sizeof(Record) * count)));
  }
  std::byte* allocate(std::size_t size) {
    return blocks_.emplace_back(std::make_unique<std::byte[]>(size)).get();
  }

 private:
  std::vector<std::unique_ptr<std::byte[]>> blocks_;
};

/// A record with all it reaches.
class OwnedRecord {
 public:
  OwnedRecord() : record_(arena_.make<kvr_TestRecord>()) {}

  kvr_TestRecord* get() const { return record_; }
  RecordArena& arena() { return arena_; }

 private:
  RecordArena arena_;
  kvr_TestRecord* record_;
};

/// Builds a record. `name` stands for the text in errors: a name that is not known, an index out of
/// bounds, a text that does not fit or a bad number throws std::runtime_error "name:line: message".
OwnedRecord parse_record(std::string_view text, std::string_view name);

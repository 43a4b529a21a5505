#pragma once

#include <cstdint>
#include <string_view>

#include "api/request_records.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/recording/record.h"
#include "virtual_instrument/store/sqlite_store.h"

// Decides into which record a finished test goes, and under which name. Mode 1 stores a new record.
// Mode 2 adds the test to the record of that ID, and begins one if there is none, since the first
// test of a run without an ID is not stored, but names the later ones. Mode 3 stores nothing.

namespace virtual_instrument {

/// KVR_RES_OK, or why records can't be stored, or can't even be read: the card, the database or the
/// store itself.
kvr_code check_store(const StatusSettings& status, const SqliteStore& store, bool for_writing);

/// What tests of one record have in common.
struct TestKind {
  kvr_TestType type;
  std::string_view family;  ///< as family_of() names it
};

/// KVR_RES_OK, or why a test with this `header` could not be kept after it is done.
kvr_code check_saving(const kvr_TestRequestHeader& header, const TestKind& kind, SqliteStore& store,
                      const Bench& bench);

/// Keeps a test as `header` says and sets `record` to a record with this test alone, with the head
/// of the stored record if there is one. REQUIRES: the header was checked.
kvr_code keep_test(const kvr_TestRequestHeader& header, kvr_TestType type,
                   const kvr_TestSetup& setup, const RecordedTest& test, std::int64_t now,
                   SqliteStore& store, const Bench& bench, RecordNest& record);

}  // namespace virtual_instrument

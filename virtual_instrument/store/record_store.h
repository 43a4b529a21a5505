#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "api/codes.h"
#include "virtual_instrument/records/record.h"

namespace virtual_instrument {

/// Where the instrument keeps its test records. Every operation is done whole or not at all, and is
/// safe on any thread. A store that fails says so by code.
class RecordStore {
 public:
  RecordStore() = default;
  RecordStore(const RecordStore&) = delete;
  RecordStore& operator=(const RecordStore&) = delete;
  virtual ~RecordStore() = default;

  virtual bool exists(std::string_view record_id) = 0;

  /// Stores a record of one test. KVR_RES_TESTID_EXISTS if its ID is taken.
  virtual kvr_code add(const Record& record) = 0;

  /// Adds a test to a stored record and stores the record's head, grown by it, in `head`.
  /// KVR_RES_RECORD_NOT_FOUND without such a record; KVR_RES_TEST_CONFIG_INCOMPATIBLE if it holds
  /// tests of another kind or `type`.
  virtual kvr_code append(std::string_view record_id, kvr_TestType type, const RecordedTest& test,
                          RecordHead& head) = 0;

  virtual std::optional<Record> read(std::string_view record_id) = 0;

  /// KVR_RES_RECORD_NOT_FOUND without such a record.
  virtual kvr_code remove(std::string_view record_id) = 0;
  virtual kvr_code clear() = 0;

  /// The heads of all records, in no particular order.
  virtual std::vector<RecordHead> heads() = 0;
};

/// A store that lives and dies with the process.
std::unique_ptr<RecordStore> make_memory_store();

}  // namespace virtual_instrument

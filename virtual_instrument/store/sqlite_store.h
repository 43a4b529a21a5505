#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

#include "api/codes.h"
#include "api/result_records.h"
#include "record_form/record_nest.h"
#include "virtual_instrument/store/record_order.h"
#include "virtual_instrument/store/sqlite_connection.h"
#include "virtual_instrument/store/store_file.h"

// The instrument's stored records in one SQLite file. A record is known by its ID, the text that
// the operator gave it, and holds one test or more of one kind. Two IDs are equal only if all their
// bytes are.
//
// The file survives crashes, other processes on the same file, and people who name a wrong file:
// each change is one transaction that is on the disk when the call returns, and a file that is not
// a store of this version is refused and unchanged. docs/store.md describes the file.

namespace virtual_instrument {

/// Every call returns a code of the client library. Any code but KVR_RES_OK means that nothing has
/// changed, outputs included. Codes that any call can return:
///   KVR_RES_SQL_DATABASE_ERROR           not a database, or a damaged one
///   KVR_RES_DB_SCHEMA_INCOMPATIBLE       a database of something else, or of a newer version
///   KVR_RES_DATABASE_SCHEMA_NOT_UPGRADED a store of a version that is no longer read
///   KVR_RES_DATA_INVALID                 a stored record is damaged
///   KVR_RES_SECONDARY_SDCARD_HW_ERROR    the disk fails to read or write
///   KVR_RES_SECONDARY_SDCARD_READ_ONLY   a change of what can't be written
///   KVR_RES_DISK_FULL                    a change for which there is no room
///   KVR_RES_ANOTHER_INSTANCE_RUNNING     another process holds the file for too long
///   KVR_RES_LIB_NOT_INITIALIZED          the store is closed
///
/// Safe on any thread, and in several processes on one file.
class SqliteStore {
 public:
  /// Makes the file if it is missing or empty; its folder must exist. state() reports a file that
  /// can't be used. A store in memory is made by the first call that needs it.
  explicit SqliteStore(const StoreOptions& options);
  ~SqliteStore();
  SqliteStore(const SqliteStore&) = delete;
  SqliteStore& operator=(const SqliteStore&) = delete;

  /// KVR_RES_OK if the store can be used, else the code that every other call returns too.
  kvr_code state() const { return state_; }

  /// Whether changes are refused, because of the options or of the disk.
  bool is_read_only() const { return read_only_; }

  /// Waits for the running call and closes the store: all records are then in the one file. The log
  /// beside it is removed unless another process uses the file.
  void close();

  /// The same, but gives up if a call still runs after `patience`. Whether the store is closed.
  bool close_within(std::chrono::milliseconds patience);

  kvr_code exists(std::string_view record_id, bool& exists);

  /// The head of a record as lists show it. KVR_RES_RECORD_NOT_FOUND without a record of that ID.
  kvr_code head(std::string_view record_id, kvr_TestLabel& head);

  /// The whole record: all its tests in the order in which they were saved, under the head of the
  /// first. KVR_RES_RECORD_NOT_FOUND without a record of that ID.
  kvr_code read(std::string_view record_id, RecordNest& record);

  /// Keeps `record` under its own ID, begun at `time`, seconds since 1970. KVR_RES_TESTID_EXISTS
  /// when the ID is taken, KVR_RES_INCORRECT_PARAMETERS when it is empty, KVR_RES_DATA_INVALID for
  /// a record that has no stored form.
  kvr_code save_new(const kvr_TestRecord& record, std::int64_t time);

  /// Adds the tests of `record` to the stored record of the same ID and stores the updated head of
  /// that record in `head`. KVR_RES_RECORD_NOT_FOUND without such a record;
  /// KVR_RES_TEST_CONFIG_INCOMPATIBLE if it holds tests of another type or family;
  /// KVR_RES_DATA_INVALID as above.
  kvr_code add_test(const kvr_TestRecord& record, kvr_TestLabel& head);

  /// Whether add_test() would find a record to which it can add tests of `type` and of a family, as
  /// family_of() names it: KVR_RES_OK, or the code that add_test() would return.
  kvr_code check_addition(std::string_view record_id, kvr_TestType type, std::string_view family);

  /// KVR_RES_RECORD_NOT_FOUND without a record of that ID.
  kvr_code remove(std::string_view record_id);

  kvr_code clear();

  /// The heads of all records. Reads no test.
  kvr_code list(SortKey key, bool ascending, Labels& labels);

 private:
  void open_locked();
  void close_locked();

  template <class Operation>
  kvr_code guarded(Operation operation);

  const StoreOptions options_;
  std::mutex mutex_;
  std::unique_ptr<SqliteConnection> database_;
  std::atomic<bool> read_only_ = false;
  bool keeps_log_ = false;  ///< whether there is a log that this store must move
  std::atomic<kvr_code> state_ = KVR_RES_OK;
};

}  // namespace virtual_instrument

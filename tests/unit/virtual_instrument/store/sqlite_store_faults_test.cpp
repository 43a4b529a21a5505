// A disk that is full or fails, at every operation on a file in turn.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <optional>
#include <string>

#include "support/temporary_folder.h"
#include "unit/record_form/sample_records.h"
#include "unit/virtual_instrument/store/store_files.h"
#include "unit/virtual_instrument/store/watched_disk.h"
#include "virtual_instrument/store/sqlite_store.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

struct Change {
  const char* name;
  std::function<kvr_code(SqliteStore&)> make;
  const char* after;
};

constexpr const char* kBefore = "T1#2:1,2 T2#1:3 ";

const Change kChanges[] = {
    {"save_new",
     [](SqliteStore& store) {
       return store.save_new(*ratio_record("T3", 4, std::string(9000, 'x')).get(), 0);
     },
     "T1#2:1,2 T2#1:3 T3#1:4 "},
    {"add_test", [](SqliteStore& store) { return add_to(store, *ratio_record("T1", 4).get()); },
     "T1#3:1,2,4 T2#1:3 "},
    {"remove", [](SqliteStore& store) { return store.remove("T1"); }, "T2#1:3 "},
    {"clear", [](SqliteStore& store) { return store.clear(); }, ""},
};

struct Fault {
  const char* name;
  int result;      // SQLite's result code
  const char* in;  // the kind of operation that fails; null for every kind
  kvr_code code;
};

constexpr Fault kFaults[] = {
    {"full", SQLITE_FULL, "write", KVR_RES_DISK_FULL},
    {"broken", SQLITE_IOERR, nullptr, KVR_RES_SECONDARY_SDCARD_HW_ERROR},
    {"unable to sync", SQLITE_IOERR_FSYNC, "sync", KVR_RES_SECONDARY_SDCARD_HW_ERROR},
};

/// A disk whose n-th operation fails while it is armed, or all from there on.
class FailingDisk {
 public:
  FailingDisk(const Fault& fault, bool for_ever) : fault_(fault), for_ever_(for_ever) {}

  void arm(int operation) {
    left_ = operation;
    has_failed_ = false;
  }
  /// Ends the failures. Whether an operation has failed since the disk was armed.
  bool disarm() {
    left_.reset();
    return has_failed_;
  }

 private:
  int watch(const DiskChange& change) {
    if (!left_ || (fault_.in != nullptr && change.what != fault_.in) || --*left_ > 0) {
      return SQLITE_OK;
    }
    const bool fails = *left_ == 0 || for_ever_;
    has_failed_ = has_failed_ || fails;
    return fails ? fault_.result : SQLITE_OK;
  }

  const Fault& fault_;
  const bool for_ever_;
  std::optional<int> left_;
  bool has_failed_ = false;
  WatchedDisk disk_{[this](const DiskChange& change) { return watch(change); }};
};

/// The bytes of a closed store with the content kBefore.
const std::string& bytes_before() {
  static const std::string bytes = [] {
    TemporaryFolder folder;
    const fs::path file = folder.path() / "records.db";
    {
      SqliteStore store({.path = file});
      EXPECT_EQ(store.save_new(*ratio_record("T1", 1).get(), 0), KVR_RES_OK);
      EXPECT_EQ(add_to(store, *ratio_record("T1", 2).get()), KVR_RES_OK);
      EXPECT_EQ(store.save_new(*ratio_record("T2", 3).get(), 0), KVR_RES_OK);
    }
    return bytes_of_file(file);
  }();
  return bytes;
}

constexpr int kEndOfSearch = 200;

/// Lets the n-th operation of a change fail, for n from 1 until the change has fewer operations.
void try_change(const Change& change, const Fault& fault, bool for_ever) {
  FailingDisk disk(fault, for_ever);
  bool failed = true;
  for (int operation = 1; failed; ++operation) {
    ASSERT_LT(operation, kEndOfSearch);
    SCOPED_TRACE(std::string(change.name) + ", disk " + fault.name + " at operation " +
                 std::to_string(operation) + (for_ever ? " and from then on" : ""));
    TemporaryFolder folder;
    const fs::path file = folder.path() / "records.db";
    write_file(file, bytes_before());
    std::string state;
    {
      SqliteStore store({.path = file});
      disk.arm(operation);
      const kvr_code code = change.make(store);
      failed = disk.disarm();

      EXPECT_EQ(code, failed ? fault.code : KVR_RES_OK);
      state = code == KVR_RES_OK ? change.after : kBefore;
      EXPECT_EQ(contents_of(store), state);
      if (code != KVR_RES_OK) {
        EXPECT_TRUE(bytes_of_file(file) == bytes_before());
      }
      // The next change must work.
      EXPECT_EQ(store.save_new(*ratio_record("T9", 9).get(), 0), KVR_RES_OK);
    }
    EXPECT_EQ(contents_of(file), state + "T9#1:9 ");
  }
}

TEST(SqliteStoreFaults, EveryOperationOfAChangeCanFail) {
  for (const Change& change : kChanges) {
    for (const Fault& fault : kFaults) {
      try_change(change, fault, false);
      try_change(change, fault, true);
    }
  }
}

TEST(SqliteStoreFaults, ACapacityBelowAPageIsFullAtOnce) {
  const TemporaryFolder folder;
  SqliteStore store({.path = folder.path() / "records.db", .capacity = 1});
  EXPECT_EQ(store.save_new(*ratio_record("T1", 1, std::string(9000, 'x')).get(), 0),
            KVR_RES_DISK_FULL);
}

// A power cut after the call must not take back what the call has reported as done.
TEST(SqliteStoreFaults, EveryChangeIsOnTheDiskWhenItsCallReturns) {
  int syncs = 0;
  const WatchedDisk disk([&syncs](const DiskChange& change) {
    syncs += change.what == "sync" ? 1 : 0;
    return SQLITE_OK;
  });
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "records.db";
  write_file(file, bytes_before());
  SqliteStore store({.path = file});
  ASSERT_EQ(store.save_new(*ratio_record("T9", 9).get(), 0), KVR_RES_OK);  // begins the log
  for (const Change& change : kChanges) {
    syncs = 0;
    EXPECT_EQ(change.make(store), KVR_RES_OK) << change.name;
    EXPECT_GT(syncs, 0) << change.name;
  }
}

TEST(SqliteStoreFaults, EveryOperationOfCreatingAStoreCanFail) {
  for (const Fault& fault : kFaults) {
    FailingDisk disk(fault, true);
    bool failed = true;
    for (int operation = 1; failed; ++operation) {
      ASSERT_LT(operation, kEndOfSearch);
      SCOPED_TRACE(std::string("disk ") + fault.name + " at operation " +
                   std::to_string(operation));
      TemporaryFolder folder;
      const fs::path file = folder.path() / "records.db";
      disk.arm(operation);
      {
        SqliteStore store({.path = file});
        failed = disk.disarm();
        if (!failed) {
          EXPECT_EQ(store.state(), KVR_RES_OK);
        }
      }
      SqliteStore store({.path = file});
      EXPECT_EQ(store.save_new(*ratio_record("T1", 1).get(), 0), KVR_RES_OK);
      EXPECT_EQ(contents_of(store), "T1#1:1 ");
    }
  }
}

TEST(SqliteStoreFaults, AFullStoreRefusesWhatDoesNotFitAndStaysAsItIs) {
  const WatchedDisk disk;
  TemporaryFolder folder;
  const fs::path file = folder.path() / "records.db";
  write_file(file, bytes_before());
  {
    SqliteStore store({.path = file, .capacity = fs::file_size(file)});
    EXPECT_EQ(store.save_new(*ratio_record("T3", 4, std::string(9000, 'x')).get(), 0),
              KVR_RES_DISK_FULL);
    EXPECT_EQ(contents_of(store), kBefore);
  }
  EXPECT_TRUE(bytes_of_file(file) == bytes_before());
}

TEST(SqliteStoreFaults, RoomOfRemovedRecordsIsUsedAgain) {
  const WatchedDisk disk;
  TemporaryFolder folder;
  const std::string large(9000, 'x');
  const StoreOptions options = {.path = folder.path() / "records.db", .capacity = 60'000};
  SqliteStore store(options);
  int saved = 0;
  while (store.save_new(*ratio_record("T" + std::to_string(saved), 1, large).get(), 0) ==
         KVR_RES_OK) {
    ASSERT_LT(++saved, 10);
  }
  EXPECT_GT(saved, 0);
  EXPECT_EQ(store.remove("T0"), KVR_RES_OK);
  EXPECT_EQ(store.save_new(*ratio_record("N", 1, large).get(), 0), KVR_RES_OK);
  EXPECT_EQ(store.save_new(*ratio_record("M", 1, large).get(), 0), KVR_RES_DISK_FULL);
}

TEST(SqliteCodes, HaveACodeOfTheLibrary) {
  struct CodeCase {
    int result;
    kvr_code code;
  };
  for (const CodeCase& code_case : {
           CodeCase{SQLITE_OK, KVR_RES_OK},
           CodeCase{SQLITE_FULL, KVR_RES_DISK_FULL},
           CodeCase{SQLITE_IOERR_SHMSIZE, KVR_RES_DISK_FULL},
           CodeCase{SQLITE_READONLY, KVR_RES_SECONDARY_SDCARD_READ_ONLY},
           CodeCase{SQLITE_READONLY_ROLLBACK, KVR_RES_SECONDARY_SDCARD_READ_ONLY},
           CodeCase{SQLITE_IOERR, KVR_RES_SECONDARY_SDCARD_HW_ERROR},
           CodeCase{SQLITE_IOERR_READ, KVR_RES_SECONDARY_SDCARD_HW_ERROR},
           CodeCase{SQLITE_IOERR_NOMEM, KVR_RES_INTERNAL_ERROR},
           CodeCase{SQLITE_NOMEM, KVR_RES_INTERNAL_ERROR},
           CodeCase{SQLITE_BUSY, KVR_RES_ANOTHER_INSTANCE_RUNNING},
           CodeCase{SQLITE_BUSY_RECOVERY, KVR_RES_ANOTHER_INSTANCE_RUNNING},
           CodeCase{SQLITE_LOCKED, KVR_RES_ANOTHER_INSTANCE_RUNNING},
           CodeCase{SQLITE_PROTOCOL, KVR_RES_ANOTHER_INSTANCE_RUNNING},
           CodeCase{SQLITE_TOOBIG, KVR_RES_DATA_INVALID},
           CodeCase{SQLITE_CORRUPT, KVR_RES_SQL_DATABASE_ERROR},
           CodeCase{SQLITE_NOTADB, KVR_RES_SQL_DATABASE_ERROR},
           CodeCase{SQLITE_CANTOPEN, KVR_RES_SQL_DATABASE_ERROR},
           CodeCase{SQLITE_ERROR, KVR_RES_SQL_DATABASE_ERROR},
       }) {
    EXPECT_EQ(code_of_sqlite(code_case.result), code_case.code) << code_case.result;
  }
}

}  // namespace
}  // namespace virtual_instrument

// Files that are no store, are damaged, or can't be written: checks the code for each, and that the
// file and its folder are unchanged.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_folder.h"
#include "unit/record_form/sample_records.h"
#include "unit/virtual_instrument/store/store_files.h"
#include "unit/virtual_instrument/store/watched_disk.h"
#include "virtual_instrument/store/sqlite_store.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

/// The files of a folder with their bytes.
using Files = std::map<std::string, std::string>;

Files everything_in(const fs::path& folder) {
  Files files;
  for (const std::string& name : files_in(folder)) {
    files[name] = bytes_of_file(folder / name);
  }
  return files;
}

class StoreFilesTest : public testing::Test {
 protected:
  /// Reports which file differs, but not how: the files are long.
  void expect_untouched(const Files& before, const std::string& why) {
    const Files now = everything_in(folder_.path());
    for (const auto& [name, bytes] : before) {
      EXPECT_TRUE(now.contains(name) && now.at(name) == bytes) << name << " after " << why;
    }
    for (const auto& [name, bytes] : now) {
      EXPECT_TRUE(before.contains(name)) << name << " is new after " << why;
    }
  }

  /// Opens the file and tries every call on it.
  void expect_refused(kvr_code code, const std::string& why) {
    const Files before = everything_in(folder_.path());
    {
      SqliteStore store({.path = file_});
      EXPECT_EQ(store.state(), code) << why;
      bool exists = true;
      RecordNest record;
      Labels labels;
      kvr_TestLabel head;
      EXPECT_EQ(store.head("T1", head), code) << why;
      EXPECT_EQ(store.exists("T1", exists), code) << why;
      EXPECT_EQ(store.read("T1", record), code) << why;
      EXPECT_EQ(store.save_new(*ratio_record("N").get(), 0), code) << why;
      EXPECT_EQ(add_to(store, *ratio_record("T1").get()), code) << why;
      EXPECT_EQ(store.remove("T1"), code) << why;
      EXPECT_EQ(store.clear(), code) << why;
      EXPECT_EQ(store.list(SortKey::kTestId, true, labels), code) << why;
      EXPECT_TRUE(exists);
      EXPECT_EQ(record, nullptr);
      EXPECT_EQ(labels, nullptr);
    }
    expect_untouched(before, why);
  }

  /// A closed store: T1 with two tests, T2 with one of several pages.
  void make_store() {
    SqliteStore store({.path = file_});
    ASSERT_EQ(store.save_new(*ratio_record("T1", 1).get(), 0), KVR_RES_OK);
    ASSERT_EQ(add_to(store, *ratio_record("T1", 2).get()), KVR_RES_OK);
    ASSERT_EQ(store.save_new(*ratio_record("T2", 3, std::string(9000, 'x')).get(), 0), KVR_RES_OK);
  }

  /// The same store after a crash, with all changes still in the log beside the file.
  void make_crashed_store() {
    TemporaryFolder elsewhere;
    const fs::path live = elsewhere.path() / "records.db";
    SqliteStore store({.path = live});
    ASSERT_EQ(store.save_new(*ratio_record("T1", 1).get(), 0), KVR_RES_OK);
    ASSERT_EQ(add_to(store, *ratio_record("T1", 2).get()), KVR_RES_OK);
    ASSERT_EQ(store.save_new(*ratio_record("T2", 3).get(), 0), KVR_RES_OK);
    fs::copy_file(live, file_);
    fs::copy_file(live.string() + "-wal", log_);
  }

  WatchedDisk disk_;
  TemporaryFolder folder_;
  fs::path file_ = folder_.path() / "records.db";
  fs::path log_ = folder_.path() / "records.db-wal";
};

constexpr const char* kWhole = "T1#2:1,2 T2#1:3 ";

TEST_F(StoreFilesTest, AMissingFolderIsNotMade) {
  SqliteStore store({.path = folder_.path() / "missing" / "records.db"});
  EXPECT_EQ(store.state(), KVR_RES_SQL_DATABASE_ERROR);
  EXPECT_TRUE(folder_.empty());
}

TEST_F(StoreFilesTest, AnEmptyFileBecomesAStore) {
  write_file(file_, "");
  SqliteStore store({.path = file_});
  EXPECT_EQ(store.save_new(*ratio_record("T1", 1).get(), 0), KVR_RES_OK);
  EXPECT_EQ(contents_of(store), "T1#1:1 ");
}

TEST_F(StoreFilesTest, WhatIsNoDatabaseIsADatabaseError) {
  for (const std::string& bytes :
       {std::string("x"), std::string(50, 'y'), std::string("Dear diary,\n"),
        std::string("SQLite format 3"), std::string(100'000, '\0'), std::string(99, 'S')}) {
    write_file(file_, bytes);
    expect_refused(KVR_RES_SQL_DATABASE_ERROR, bytes.substr(0, 20));
  }
}

TEST_F(StoreFilesTest, AFolderIsADatabaseError) {
  SqliteStore store({.path = folder_.path()});
  EXPECT_EQ(store.state(), KVR_RES_SQL_DATABASE_ERROR);
  EXPECT_TRUE(folder_.empty());
}

TEST_F(StoreFilesTest, ADatabaseOfSomethingElseIsIncompatible) {
  run_sql(file_, "CREATE TABLE recipes (name TEXT); INSERT INTO recipes VALUES ('soup')");
  expect_refused(KVR_RES_DB_SCHEMA_INCOMPATIBLE, "no application ID");

  run_sql(file_, "PRAGMA application_id = 7; PRAGMA user_version = 1; PRAGMA journal_mode = WAL");
  expect_refused(KVR_RES_DB_SCHEMA_INCOMPATIBLE, "another application ID");
}

TEST_F(StoreFilesTest, AnEmptyDatabaseOfSomethingElseIsIncompatible) {
  run_sql(file_, "PRAGMA user_version = 1");
  expect_refused(KVR_RES_DB_SCHEMA_INCOMPATIBLE, "no table");
}

TEST_F(StoreFilesTest, ANewerVersionIsIncompatible) {
  make_store();
  run_sql(file_, "PRAGMA user_version = 2");
  expect_refused(KVR_RES_DB_SCHEMA_INCOMPATIBLE, "version 2");
}

TEST_F(StoreFilesTest, ANewerVersionIsIncompatibleWhenOnlyTheLogHasIt) {
  // A newer program crashed after its upgrade.
  make_store();
  TemporaryFolder elsewhere;
  const fs::path live = elsewhere.path() / "records.db";
  fs::copy_file(file_, live);
  const SqliteConnection newer(live, SqliteAccess::kExisting, std::chrono::seconds(1));
  newer.run("PRAGMA user_version = 2");
  fs::copy_file(live.string() + "-wal", log_);

  const std::string file = bytes_of_file(file_);
  const std::string log = bytes_of_file(log_);
  {
    SqliteStore store({.path = file_});
    EXPECT_EQ(store.state(), KVR_RES_DB_SCHEMA_INCOMPATIBLE);
  }
  // SQLite makes the log's index beside it; the store itself is untouched.
  EXPECT_TRUE(bytes_of_file(file_) == file);
  EXPECT_TRUE(bytes_of_file(log_) == log);
}

TEST_F(StoreFilesTest, AnOlderVersionIsNotUpgraded) {
  make_store();
  for (const char* version : {"0", "-1"}) {
    run_sql(file_, std::string("PRAGMA user_version = ") + version);
    expect_refused(KVR_RES_DATABASE_SCHEMA_NOT_UPGRADED, version);
  }
}

TEST_F(StoreFilesTest, OtherTablesUnderOurMarkAreIncompatible) {
  make_store();
  run_sql(file_, "ALTER TABLE records ADD COLUMN color TEXT");
  expect_refused(KVR_RES_DB_SCHEMA_INCOMPATIBLE, "a column more");
  run_sql(file_, "DROP TABLE records");
  expect_refused(KVR_RES_DB_SCHEMA_INCOMPATIBLE, "a table less");
}

TEST_F(StoreFilesTest, TablesBesideOursDoNotMatter) {
  make_store();
  run_sql(file_, "CREATE TABLE remarks (text TEXT)");
  EXPECT_EQ(contents_of(file_), kWhole);
}

TEST_F(StoreFilesTest, APageOfGarbageIsADatabaseError) {
  make_store();
  const std::string whole = bytes_of_file(file_);
  constexpr std::size_t kPage = 4096;
  ASSERT_GE(whole.size(), 6 * kPage);
  for (std::size_t page = 1; page < whole.size() / kPage; ++page) {
    std::string damaged = whole;
    damaged.replace(page * kPage, kPage, kPage, '\xA5');
    write_file(file_, damaged);
    SqliteStore store({.path = file_});
    if (store.state() == KVR_RES_OK) {
      // A page with raw data alone: only the checksum shows the damage.
      EXPECT_EQ(contents_of(store), "T1#2:1,2 T2#1:[14] ") << "page " << page;
    } else {
      expect_refused(KVR_RES_SQL_DATABASE_ERROR, "page " + std::to_string(page));
    }
  }
}

TEST_F(StoreFilesTest, AGarbledHeadOfTheFileIsADatabaseError) {
  make_store();
  std::string damaged = bytes_of_file(file_);
  damaged.replace(100, 1000, 1000, '\xA5');
  write_file(file_, damaged);
  expect_refused(KVR_RES_SQL_DATABASE_ERROR, "the list of tables");
}

/// Lets the file grow to this size by a table beside ours.
void grow_to(const fs::path& file, std::uintmax_t size) {
  constexpr std::uintmax_t kPage = 4096;
  run_sql(file, "CREATE TABLE IF NOT EXISTS ballast (bytes BLOB)");
  while (fs::file_size(file) < size) {
    const std::uintmax_t missing = size - fs::file_size(file);
    const std::uintmax_t bytes = missing > 100 * kPage ? missing - 50 * kPage : 5000;
    run_sql(file, "INSERT INTO ballast VALUES (zeroblob(" + std::to_string(bytes) + "))");
  }
  ASSERT_EQ(fs::file_size(file), size);
}

// The number of free pages in the file's head is only compared when the whole file is checked.
TEST_F(StoreFilesTest, AFileUpTo32MebibytesIsCheckedWhole) {
  constexpr std::uintmax_t kCheckedWhole = 32 << 20;
  constexpr std::uintmax_t kPage = 4096;
  constexpr std::size_t kFreePages = 39;
  make_store();
  for (const bool larger : {false, true}) {
    run_sql(file_, "PRAGMA journal_mode = DELETE");
    grow_to(file_, kCheckedWhole + (larger ? kPage : 0));
    std::fstream file(file_, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(kFreePages).put('\1').flush();
    {
      SqliteStore store({.path = file_});
      EXPECT_EQ(store.state(), larger ? KVR_RES_OK : KVR_RES_SQL_DATABASE_ERROR);
    }
    file.seekp(kFreePages).put('\0');
  }
}

TEST_F(StoreFilesTest, AFileThatIsCutIsADatabaseError) {
  make_store();
  const std::string whole = bytes_of_file(file_);
  for (const std::size_t size : {std::size_t{100}, std::size_t{4000}, std::size_t{4096},
                                 std::size_t{8192}, whole.size() - 4096, whole.size() - 1}) {
    write_file(file_, whole.substr(0, size));
    expect_refused(KVR_RES_SQL_DATABASE_ERROR, "cut to " + std::to_string(size));
  }
}

TEST_F(StoreFilesTest, DamageNeverShowsAsOtherResults) {
  make_store();
  const std::string whole = bytes_of_file(file_);
  std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed): the same bytes on every run
  int noticed = 0;
  constexpr int kRounds = 400;
  for (int round = 0; round < kRounds; ++round) {
    std::string damaged = whole;
    const std::size_t position = random() % damaged.size();
    damaged[position] = static_cast<char>(damaged[position] ^ (1 << random() % 8));
    write_file(file_, damaged);
    const std::string contents = contents_of(file_);
    noticed += contents == kWhole ? 0 : 1;
    EXPECT_TRUE(contents == kWhole || contents.find('[') != std::string::npos)
        << "byte " << position << " gives " << contents;
  }
  EXPECT_GT(noticed, 0);
}

TEST_F(StoreFilesTest, ADamagedRecordLeavesTheOthersReadableAndCanBeRemoved) {
  make_store();
  run_sql(file_, "UPDATE tests SET data = zeroblob(100) WHERE number = 2");
  {
    SqliteStore store({.path = file_});
    EXPECT_EQ(contents_of(store), "T1#2:[14] T2#1:3 ");
    EXPECT_EQ(store.remove("T1"), KVR_RES_OK);
    EXPECT_EQ(contents_of(store), "T2#1:3 ");
  }

  run_sql(file_, "UPDATE records SET time = time + 1");
  SqliteStore store({.path = file_});
  EXPECT_EQ(contents_of(store), "[14]");
  EXPECT_EQ(add_to(store, *ratio_record("T2").get()), KVR_RES_DATA_INVALID);
  EXPECT_EQ(store.remove("T2"), KVR_RES_OK);
  EXPECT_EQ(contents_of(store), "");
}

// A whole and readable result of another test: only the checksum shows it.
TEST_F(StoreFilesTest, AResultInThePlaceOfAnotherIsDamaged) {
  make_store();
  run_sql(file_,
          "UPDATE tests SET data = (SELECT data FROM tests WHERE number = 2)"
          " WHERE number = 1");
  EXPECT_EQ(contents_of(file_), "T1#2:[14] T2#1:3 ") << "a test's checksum is not checked";
}

TEST_F(StoreFilesTest, ARecordThatLacksATestIsDamaged) {
  make_store();
  run_sql(file_, "DELETE FROM tests WHERE number = 2");
  EXPECT_EQ(contents_of(file_), "T1#2:[14] T2#1:3 ");
  run_sql(file_, "DELETE FROM tests WHERE number = 1");
  EXPECT_EQ(contents_of(file_), "T1#2:[14] T2#1:3 ");
}

TEST_F(StoreFilesTest, ACrashedStoreHasWhatItsLogHolds) {
  make_crashed_store();
  EXPECT_EQ(contents_of(file_), kWhole);
  EXPECT_THAT(files_in(folder_.path()), testing::ElementsAre("records.db"));
}

TEST_F(StoreFilesTest, ALogThatIsCutOrDamagedHoldsTheSavingsBeforeThat) {
  make_crashed_store();
  const std::string file = bytes_of_file(file_);
  const std::string log = bytes_of_file(log_);
  const auto expect_earlier_state = [&](const std::string& damaged_log, std::size_t position) {
    write_file(file_, file);
    write_file(log_, damaged_log);
    EXPECT_THAT(contents_of(file_), testing::AnyOf("", "T1#1:1 ", "T1#2:1,2 ", kWhole))
        << "at " << position;
  };
  for (std::size_t size = 0; size <= log.size(); size += 1013) {
    expect_earlier_state(log.substr(0, size), size);
  }
  for (std::size_t position = 0; position < log.size(); position += 1013) {
    std::string damaged = log;
    damaged[position] = static_cast<char>(damaged[position] ^ 0x10);
    expect_earlier_state(damaged, position);
  }
}

TEST_F(StoreFilesTest, ADamagedFileKeepsItsLog) {
  make_crashed_store();
  std::string damaged = bytes_of_file(file_);
  damaged.replace(4096, 4096, 4096, '\xA5');
  write_file(file_, damaged);
  const std::string log = bytes_of_file(log_);
  {
    SqliteStore store({.path = file_});
    if (store.state() == KVR_RES_OK) {
      EXPECT_EQ(contents_of(store), kWhole);  // the log holds a good copy of that page
      return;
    }
  }
  EXPECT_TRUE(bytes_of_file(file_) == damaged);
  EXPECT_TRUE(bytes_of_file(log_) == log);
}

// ---- Read only -----------------------------------------------------------------------------

void expect_reading_only(SqliteStore& store) {
  EXPECT_EQ(contents_of(store), kWhole);
  bool exists = false;
  EXPECT_EQ(store.exists("T2", exists), KVR_RES_OK);
  EXPECT_TRUE(exists);
  constexpr kvr_code kRefused = KVR_RES_SECONDARY_SDCARD_READ_ONLY;
  EXPECT_EQ(store.save_new(*ratio_record("N").get(), 0), kRefused);
  EXPECT_EQ(add_to(store, *ratio_record("T1").get()), kRefused);
  EXPECT_EQ(store.remove("T1"), kRefused);
  EXPECT_EQ(store.clear(), kRefused);
  EXPECT_EQ(contents_of(store), kWhole);
}

TEST_F(StoreFilesTest, AReadOnlyStoreReadsAndRefusesChanges) {
  make_store();
  const Files before = everything_in(folder_.path());
  {
    SqliteStore store({.path = file_, .read_only = true});
    ASSERT_EQ(store.state(), KVR_RES_OK);
    expect_reading_only(store);
  }
  expect_untouched(before, "reading only");
}

TEST_F(StoreFilesTest, AReadOnlyStoreReadsWhatACrashLeftAndLeavesItThere) {
  make_crashed_store();
  const std::string file = bytes_of_file(file_);
  const std::string log = bytes_of_file(log_);
  {
    SqliteStore store({.path = file_, .read_only = true});
    ASSERT_EQ(store.state(), KVR_RES_OK);
    expect_reading_only(store);
  }
  EXPECT_TRUE(bytes_of_file(file_) == file);
  EXPECT_TRUE(bytes_of_file(log_) == log);
}

TEST_F(StoreFilesTest, AReadOnlyStoreIsNotMade) {
  SqliteStore missing({.path = file_, .read_only = true});
  EXPECT_EQ(missing.state(), KVR_RES_SECONDARY_SDCARD_READ_ONLY);
  EXPECT_TRUE(folder_.empty());

  write_file(file_, "");
  SqliteStore empty({.path = file_, .read_only = true});
  EXPECT_EQ(empty.state(), KVR_RES_SECONDARY_SDCARD_READ_ONLY);
  EXPECT_EQ(bytes_of_file(file_), "");
}

TEST_F(StoreFilesTest, AStoreOnADiskThatCannotBeWrittenCanBeRead) {
  make_store();
  disk_.set_read_only();
  SqliteStore store({.path = file_});
  ASSERT_EQ(store.state(), KVR_RES_OK);
  expect_reading_only(store);
}

// SQLite is asked for such a store by a URI, in which some characters have a meaning.
TEST_F(StoreFilesTest, AStoreThatCannotBeWrittenMayHaveAnyName) {
  make_store();
  const bool any_character = fs::path::preferred_separator == '/';
  for (const std::string name : {"100%25 #1.db", any_character ? "what?mode=rw.db" : "what.db"}) {
    fs::copy_file(file_, folder_.path() / name);
    SqliteStore writable({.path = folder_.path() / name});
    ASSERT_EQ(writable.remove("T1"), KVR_RES_OK);
  }
  disk_.set_read_only();
  for (const std::string name : {"100%25 #1.db", any_character ? "what?mode=rw.db" : "what.db"}) {
    EXPECT_EQ(contents_of(folder_.path() / name), "T2#1:3 ") << name;
  }
}

// Without a write-ahead log SQLite needs no file beside the store, so it notices what others write.
TEST_F(StoreFilesTest, AStoreThatCannotBeWrittenShowsWhatAnotherWrites) {
  make_store();
  run_sql(file_, "PRAGMA journal_mode = DELETE");
  TemporaryFolder elsewhere;
  const fs::path other = elsewhere.path() / "records.db";
  fs::copy_file(file_, other);
  {
    SqliteStore store({.path = other});
    ASSERT_EQ(store.remove("T1"), KVR_RES_OK);
  }
  run_sql(other, "PRAGMA journal_mode = DELETE");
  disk_.set_read_only();
  SqliteStore store({.path = file_});
  ASSERT_EQ(store.state(), KVR_RES_OK);
  expect_reading_only(store);
  write_file(file_, bytes_of_file(other));
  EXPECT_EQ(contents_of(store), "T2#1:3 ");
}

TEST_F(StoreFilesTest, NoStoreIsMadeOnADiskThatCannotBeWritten) {
  disk_.set_read_only();
  SqliteStore store({.path = file_});
  EXPECT_EQ(store.state(), KVR_RES_SQL_DATABASE_ERROR);
}

// ---- Another process -----------------------------------------------------------------------

TEST_F(StoreFilesTest, AFileThatAnotherHoldsIsRefusedAfterAWhile) {
  make_store();
  SqliteStore store({.path = file_, .patience = std::chrono::milliseconds(20)});
  const SqliteConnection other(file_, SqliteAccess::kExisting, std::chrono::seconds(1));
  {
    const SqliteTransaction held(other);
    EXPECT_EQ(store.save_new(*ratio_record("N").get(), 0), KVR_RES_ANOTHER_INSTANCE_RUNNING);
    EXPECT_EQ(store.remove("T1"), KVR_RES_ANOTHER_INSTANCE_RUNNING);
    EXPECT_EQ(contents_of(store), kWhole);  // reading still works
  }
  EXPECT_EQ(store.remove("T1"), KVR_RES_OK);
}

TEST_F(StoreFilesTest, AStatementThatCannotBePreparedSaysWhy) {
  make_store();
  run_sql(file_, "PRAGMA journal_mode = DELETE");
  const SqliteConnection other(file_, SqliteAccess::kExisting, std::chrono::seconds(1));
  other.run("BEGIN EXCLUSIVE");
  const SqliteConnection connection(file_, SqliteAccess::kExisting, std::chrono::milliseconds(1));
  kvr_code code = KVR_RES_OK;
  try {
    connection.prepare("SELECT number FROM records");
  } catch (const StoreFailure& failure) {
    code = failure.code;
  }
  EXPECT_EQ(code, KVR_RES_ANOTHER_INSTANCE_RUNNING);
}

TEST_F(StoreFilesTest, OpeningWaitsForAnotherThatIsStillMakingTheStore) {
  // The other has made the tables, but not the log: SQLite does not wait there by itself.
  make_store();
  run_sql(file_, "PRAGMA journal_mode = DELETE");
  const SqliteConnection other(file_, SqliteAccess::kExisting, std::chrono::seconds(1));
  SqliteStatement reading = other.prepare("SELECT number FROM records");
  ASSERT_TRUE(reading.step());

  SqliteStore impatient({.path = file_, .patience = std::chrono::milliseconds(20)});
  EXPECT_EQ(impatient.state(), KVR_RES_ANOTHER_INSTANCE_RUNNING);

  std::thread patient([this] {
    SqliteStore store({.path = file_});
    EXPECT_EQ(store.state(), KVR_RES_OK);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  reading.run();
  patient.join();
  EXPECT_EQ(rows_of(file_, "PRAGMA journal_mode"), "wal\n");
}

}  // namespace
}  // namespace virtual_instrument

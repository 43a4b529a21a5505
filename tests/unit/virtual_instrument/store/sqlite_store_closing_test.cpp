// After a store is closed, and when it is opened after a kill, one file holds everything. Each test
// copies that file alone and reads the copy.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <string>
#include <thread>

#include "support/temporary_folder.h"
#include "unit/record_form/sample_records.h"
#include "unit/virtual_instrument/store/store_files.h"
#include "unit/virtual_instrument/store/watched_disk.h"
#include "virtual_instrument/store/sqlite_connection.h"
#include "virtual_instrument/store/sqlite_store.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class StoreClosingTest : public testing::Test {
 protected:
  static void save(SqliteStore& store, const std::string& id, double ratio) {
    ASSERT_EQ(store.save_new(*ratio_record(id, ratio).get(), 0), KVR_RES_OK);
  }

  /// The content of the store's file without the files beside it.
  std::string contents_of_copy() const {
    const TemporaryFolder elsewhere;
    fs::copy_file(file_, elsewhere.path() / "copy.db");
    return contents_of(elsewhere.path() / "copy.db");
  }

  WatchedDisk disk_;
  TemporaryFolder folder_;
  fs::path file_ = folder_.path() / "records.db";
};

TEST_F(StoreClosingTest, AClosedStoreIsOneFile) {
  SqliteStore store({.path = file_});
  save(store, "T1", 1);
  save(store, "T2", 2);
  EXPECT_EQ(contents_of_copy(), "");  // so far only the log has them
  store.close();
  EXPECT_THAT(files_in(folder_.path()), ElementsAre("records.db"));
  EXPECT_EQ(contents_of_copy(), "T1#1:1 T2#1:2 ");
}

TEST_F(StoreClosingTest, AStoreThatIsDestroyedIsOneFile) {
  {
    SqliteStore store({.path = file_});
    save(store, "T1", 1);
  }
  EXPECT_THAT(files_in(folder_.path()), ElementsAre("records.db"));
  EXPECT_EQ(contents_of_copy(), "T1#1:1 ");
}

TEST_F(StoreClosingTest, AClosedStoreRefusesEveryCall) {
  SqliteStore store({.path = file_});
  save(store, "T1", 1);
  store.close();
  store.close();
  constexpr kvr_code kClosed = KVR_RES_LIB_NOT_INITIALIZED;
  EXPECT_EQ(store.state(), kClosed);
  bool exists = false;
  RecordNest record;
  Labels labels;
  kvr_TestLabel head;
  EXPECT_EQ(store.exists("T1", exists), kClosed);
  EXPECT_EQ(store.head("T1", head), kClosed);
  EXPECT_EQ(store.read("T1", record), kClosed);
  EXPECT_EQ(store.save_new(*ratio_record("T2").get(), 0), kClosed);
  EXPECT_EQ(add_to(store, *ratio_record("T1").get()), kClosed);
  EXPECT_EQ(store.remove("T1"), kClosed);
  EXPECT_EQ(store.clear(), kClosed);
  EXPECT_EQ(store.list(SortKey::kTestId, true, labels), kClosed);
  EXPECT_EQ(contents_of_copy(), "T1#1:1 ");
}

TEST_F(StoreClosingTest, AStoreThatCannotBeUsedKeepsItsCode) {
  write_file(file_, "no database");
  SqliteStore store({.path = file_});
  store.close();
  EXPECT_EQ(store.state(), KVR_RES_SQL_DATABASE_ERROR);
  EXPECT_EQ(bytes_of_file(file_), "no database");
}

TEST_F(StoreClosingTest, WhatAKillLeftIsInTheFileOnceTheStoreIsOpen) {
  {
    const TemporaryFolder elsewhere;
    const fs::path live = elsewhere.path() / "records.db";
    SqliteStore store({.path = live});
    save(store, "T1", 1);
    fs::copy_file(live, file_);
    fs::copy_file(live.string() + "-wal", file_.string() + "-wal");
  }
  EXPECT_EQ(contents_of_copy(), "");
  const SqliteStore store({.path = file_});
  EXPECT_EQ(contents_of_copy(), "T1#1:1 ");
}

TEST_F(StoreClosingTest, BesideAnotherUserTheFileIsCompleteAndTheLogStaysTheirs) {
  SqliteStore other({.path = file_});
  {
    SqliteStore store({.path = file_});
    save(store, "T1", 1);
  }
  EXPECT_EQ(contents_of_copy(), "T1#1:1 ");
  save(other, "T2", 2);
  other.close();
  EXPECT_THAT(files_in(folder_.path()), ElementsAre("records.db"));
  EXPECT_EQ(contents_of_copy(), "T1#1:1 T2#1:2 ");
}

// With SQLite alone, each would leave the log to the other one.
TEST_F(StoreClosingTest, TwoThatCloseAtOnceLeaveAFileThatIsComplete) {
  std::string expected;
  for (int round = 0; round < 20; ++round) {
    SqliteStore one({.path = file_});
    SqliteStore two({.path = file_});
    const std::string id = "T" + std::to_string(round);
    save(round % 2 == 0 ? one : two, id, round);
    expected += id + "#1:" + std::to_string(round) + " ";
    std::thread closing([&one] { one.close(); });
    two.close();
    closing.join();
    ASSERT_EQ(contents_of_copy(), expected);
  }
}

/// Keeps a store busy: the disk does not answer until finish().
class BusyStore {
 public:
  explicit BusyStore(const fs::path& file) : store_({.path = file}) {
    waits_ = true;
    saving_ = std::thread([this] { code_ = store_.save_new(*ratio_record("T1", 1).get(), 0); });
    busy_.get_future().wait();
  }
  ~BusyStore() { finish(); }
  BusyStore(const BusyStore&) = delete;
  BusyStore& operator=(const BusyStore&) = delete;

  SqliteStore& store() { return store_; }

  /// Lets the disk answer. Returns the code of the delayed call.
  kvr_code finish() {
    if (saving_.joinable()) {
      goes_on_.set_value();
      saving_.join();
    }
    return code_;
  }

 private:
  int wait_once() {
    if (waits_.exchange(false)) {
      busy_.set_value();
      goes_on_.get_future().wait();
    }
    return 0;
  }

  std::atomic<bool> waits_ = false;
  std::promise<void> busy_;
  std::promise<void> goes_on_;
  WatchedDisk disk_{[this](const DiskChange&) { return wait_once(); }};
  SqliteStore store_;
  kvr_code code_ = KVR_RES_INTERNAL_ERROR;
  std::thread saving_;
};

TEST(StoreClosing, WithinATimeGivesUpOnACallThatTakesLonger) {
  const TemporaryFolder folder;
  BusyStore busy(folder.path() / "records.db");
  EXPECT_FALSE(busy.store().close_within(std::chrono::milliseconds(10)));
  EXPECT_EQ(busy.store().state(), KVR_RES_OK);
  EXPECT_EQ(busy.finish(), KVR_RES_OK);
  EXPECT_TRUE(busy.store().close_within(std::chrono::milliseconds(0)));
  EXPECT_EQ(busy.store().state(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(contents_of(folder.path() / "records.db"), "T1#1:1 ");
}

TEST(StoreClosing, WaitsForTheCallThatRuns) {
  const TemporaryFolder folder;
  BusyStore busy(folder.path() / "records.db");
  std::promise<void> closed;
  std::thread closing([&] {
    busy.store().close();
    closed.set_value();
  });
  std::future<void> is_closed = closed.get_future();
  EXPECT_EQ(is_closed.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  EXPECT_EQ(busy.finish(), KVR_RES_OK);
  is_closed.wait();
  closing.join();
  EXPECT_EQ(contents_of(folder.path() / "records.db"), "T1#1:1 ");
}

}  // namespace
}  // namespace virtual_instrument

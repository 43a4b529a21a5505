#include <gtest/gtest.h>

#include <atomic>
#include <functional>
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

void on_threads(int count, const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back(work, i);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

constexpr int kThreads = 4;
constexpr int kRecords = 10;

std::string id_of(int thread, int number) {
  return std::string(1, static_cast<char>('A' + thread)) + std::to_string(number);
}

/// Saves, extends, lists and reads records of its own, and removes every second one.
void work_on(SqliteStore& store, int thread) {
  for (int number = 0; number < kRecords; ++number) {
    const std::string id = id_of(thread, number);
    ASSERT_EQ(store.save_new(*ratio_record(id, 1).get(), number), KVR_RES_OK);
    ASSERT_EQ(add_to(store, *ratio_record(id, 2).get()), KVR_RES_OK);
    Labels labels;
    ASSERT_EQ(store.list(SortKey::kVectorGroup, false, labels), KVR_RES_OK);
    RecordNest record;
    ASSERT_EQ(store.read(id, record), KVR_RES_OK);
    ASSERT_EQ(record->data_count, 2U);
    if (number % 2 == 1) {
      ASSERT_EQ(store.remove(id), KVR_RES_OK);
    }
  }
}

void expect_even_records(SqliteStore& store) {
  Labels labels;
  ASSERT_EQ(store.list(SortKey::kTestId, true, labels), KVR_RES_OK);
  ASSERT_EQ(labels->count, static_cast<unsigned>(kThreads * kRecords / 2));
  for (std::uint32_t i = 0; i < labels->count; ++i) {
    const int position = static_cast<int>(i);
    EXPECT_EQ(labels->entries[i].record_id,
              id_of(position / (kRecords / 2), position % (kRecords / 2) * 2));
  }
}

TEST(SqliteStoreThreads, ShareOneStore) {
  const WatchedDisk disk;
  TemporaryFolder folder;
  SqliteStore store({.path = folder.path() / "records.db"});
  on_threads(kThreads, [&](int thread) { work_on(store, thread); });
  expect_even_records(store);
}

TEST(SqliteStoreThreads, ShareOneFile) {
  const WatchedDisk disk;
  TemporaryFolder folder;
  const StoreOptions options = {.path = folder.path() / "records.db"};
  on_threads(kThreads, [&](int thread) {
    SqliteStore store(options);
    work_on(store, thread);
  });
  SqliteStore store(options);
  expect_even_records(store);
}

TEST(SqliteStoreThreads, MakeOneFileAtOnce) {
  const WatchedDisk disk;
  for (int round = 0; round < 10; ++round) {
    TemporaryFolder folder;
    const StoreOptions options = {.path = folder.path() / "records.db"};
    std::atomic<int> waiting = kThreads;
    on_threads(kThreads, [&](int thread) {
      --waiting;
      while (waiting > 0) {
        std::this_thread::yield();
      }
      SqliteStore store(options);
      EXPECT_EQ(store.save_new(*ratio_record(id_of(thread, 0), 1).get(), 0), KVR_RES_OK);
    });
    EXPECT_EQ(contents_of(options.path).size(), std::string("A0#1:1 ").size() * kThreads);
  }
}

}  // namespace
}  // namespace virtual_instrument

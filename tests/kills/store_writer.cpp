#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "record_form/record_codec.h"
#include "unit/virtual_instrument/store/watched_disk.h"
#include "virtual_instrument/store/sqlite_store.h"

// Changes a record store step by step, so that it can be killed on the way, and checks whether a
// store holds the right records after a number of steps. The number of a step determines what it
// does.
//
//   store-writer run FILE NAME FIRST END    steps FIRST to END - 1, "done N" after step N
//   store-writer stop FILE NAME N POINT     step N alone; at its POINT-th operation on a file says
//                                           "at WHAT FILE" and waits to be killed
//   store-writer check FILE NAME N          "N" or "N + 1", the number of steps whose outcome the
//                                           store holds; fails when it holds anything else, or the
//                                           file alone does
//
// NAME begins the IDs of the records, so that two writers can share a file.

namespace {

using namespace virtual_instrument;

// ---- The steps -----------------------------------------------------------------------------

struct Step {
  enum Kind { kSave, kAdd, kRemove, kClear } kind;
  int record;
  int test;  ///< number of the test in its record
};

/// Six steps per record; the last one deletes the record before. Some steps clear the store.
Step step_of(int number) {
  constexpr int kStepsOfRecord = 6;
  constexpr int kRecordsUntilClear = 10;
  const int record = number / kStepsOfRecord;
  const int within = number % kStepsOfRecord;
  const int since_clear = record % kRecordsUntilClear;
  if (within == 0) {
    return {Step::kSave, record, within};
  }
  if (within < kStepsOfRecord - 1 || since_clear == 0) {
    return {Step::kAdd, record, within};
  }
  if (since_clear < kRecordsUntilClear - 1) {
    return {Step::kRemove, record - 1, 0};
  }
  return {Step::kClear, 0, 0};
}

RecordNest test_of(const std::string& name, const Step& step) {
  RecordNest record(new kvr_TestRecord{});
  const std::string id = name + std::to_string(step.record);
  id.copy(record->record_id, kIdSize - 1);
  record->test_type = KVR_TEST_RATIO_DOWN;
  record->test_count = 1;
  record->data_count = 1;
  record->data_ratio_1ph = new kvr_TestData_Ratio_1ph* [1] {};
  record->data_ratio_1ph[0] = new kvr_TestData_Ratio_1ph{};
  record->data_ratio_1ph[0]->phase.tnr = step.record + step.test / 100.0;
  // From part of a database page to several pages.
  const std::size_t size = 1 + static_cast<std::size_t>(step.test) * 5000;
  auto* raw_data = new char[size + 1]{};
  std::fill_n(raw_data, size, static_cast<char>('a' + step.test));
  record->raw_data = raw_data;
  return record;
}

kvr_code make_step(SqliteStore& store, const std::string& name, int number) {
  const Step step = step_of(number);
  switch (step.kind) {
    case Step::kSave:
      return store.save_new(*test_of(name, step), number);
    case Step::kAdd: {
      kvr_TestLabel head;
      return store.add_test(*test_of(name, step), head);
    }
    case Step::kRemove:
      return store.remove(name + std::to_string(step.record));
    case Step::kClear:
      break;
  }
  return store.clear();
}

// ---- Expected contents ---------------------------------------------------------------------

/// The stored forms of records by their IDs.
using Contents = std::map<std::string, std::vector<std::byte>>;

Contents contents_after(const std::string& name, int steps) {
  std::map<std::string, std::vector<RecordNest>> records;
  for (int number = 0; number < steps; ++number) {
    const Step step = step_of(number);
    const std::string id = name + std::to_string(step.record);
    switch (step.kind) {
      case Step::kSave:
      case Step::kAdd:
        records[id].push_back(test_of(name, step));
        break;
      case Step::kRemove:
        records.erase(id);
        break;
      case Step::kClear:
        records.clear();
        break;
    }
  }
  Contents contents;
  for (auto& [id, parts] : records) {
    contents[id] = encode_record(*join_records(std::move(parts))).value();
  }
  return contents;
}

[[noreturn]] void fail(const std::string& what) {
  std::cout << what << std::endl;
  std::exit(1);
}

void require_ok(kvr_code code, const std::string& what) {
  if (code != KVR_RES_OK) {
    fail(what + " gives code " + std::to_string(code));
  }
}

Contents contents_of(SqliteStore& store, const std::string& name) {
  Labels labels;
  require_ok(store.list(SortKey::kDateTime, true, labels), "the list");
  Contents contents;
  for (std::uint32_t i = 0; i < labels->count; ++i) {
    const std::string id = labels->entries[i].record_id;
    if (id.starts_with(name)) {
      RecordNest record;
      require_ok(store.read(id, record), "reading " + id);
      contents[id] = encode_record(*record).value();
    }
  }
  return contents;
}

/// Asks SQLite directly, not through the store.
void check_integrity(const std::string& file) {
  sqlite3* connection = nullptr;
  std::string answer;
  const auto take = [](void* text, int, char** values, char**) {
    *static_cast<std::string*>(text) += values[0];
    return 0;
  };
  const bool asked =
      sqlite3_open(file.c_str(), &connection) == SQLITE_OK &&
      sqlite3_busy_timeout(connection, 5000) == SQLITE_OK &&
      sqlite3_exec(connection, "PRAGMA integrity_check", take, &answer, nullptr) == SQLITE_OK;
  sqlite3_close(connection);
  if (!asked || answer != "ok") {
    fail("the integrity check says " + answer);
  }
}

// ---- The commands --------------------------------------------------------------------------

void check_opened(const SqliteStore& store) { require_ok(store.state(), "opening"); }

/// Closes the store now and then, since closing moves the log into the file.
void run(const std::string& file, const std::string& name, int first, int end) {
  constexpr int kStepsUntilClosed = 5;
  std::unique_ptr<SqliteStore> store;
  for (int number = first; number < end; ++number) {
    if (store == nullptr || number % kStepsUntilClosed == 0) {
      store.reset();
      store = std::make_unique<SqliteStore>(StoreOptions{.path = file});
      check_opened(*store);
    }
    require_ok(make_step(*store, name, number), "step " + std::to_string(number));
    std::cout << "done " << number << std::endl;
  }
}

void stop(const std::string& file, const std::string& name, int number, int point) {
  int left = point;
  WatchedDisk disk([&left](const DiskChange& change) {
    if (--left == 0) {
      std::cout << "at " << change.what << " " << change.file << std::endl;
      std::cin.get();
    }
    return SQLITE_OK;
  });
  SqliteStore store({.path = file});
  check_opened(store);
  require_ok(make_step(store, name, number), "step " + std::to_string(number));
}

/// The store must accept changes as well as reads.
void check_taking(SqliteStore& store) {
  const std::string name = "a trial";
  const RecordNest trial = test_of(name, {Step::kSave, 0, 0});
  require_ok(store.save_new(*trial, 0), "saving a trial");
  require_ok(store.remove(trial->record_id), "removing a trial");
}

/// Checks the file alone while the store is open: opening has moved the log of a kill into it.
void check_file_alone(const std::string& file, const std::string& name, const Contents& expected) {
  const std::string copy = file + ".copy";
  std::filesystem::remove(copy);  // MinGW's library refuses to overwrite
  std::filesystem::copy_file(file, copy);
  SqliteStore store({.path = copy});
  check_opened(store);
  if (contents_of(store, name) != expected) {
    fail("without the log beside it the file holds something else");
  }
}

void check(const std::string& file, const std::string& name, int steps) {
  Contents contents;
  {
    const WatchedDisk disk;  // a check need not wait for the disk
    SqliteStore store({.path = file});
    check_opened(store);
    contents = contents_of(store, name);
    check_file_alone(file, name, contents);
    check_taking(store);
  }
  if (std::filesystem::exists(file + "-wal")) {
    fail("the log stays beside a store that is closed");
  }
  check_integrity(file);
  if (contents == contents_after(name, steps)) {
    std::cout << steps << std::endl;
  } else if (contents == contents_after(name, steps + 1)) {
    std::cout << steps + 1 << std::endl;
  } else {
    fail("the store holds neither what it held before step " + std::to_string(steps) +
         " nor what it has to hold after it");
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.size() == 5 && words[0] == "run") {
    run(words[1], words[2], std::stoi(words[3]), std::stoi(words[4]));
  } else if (words.size() == 5 && words[0] == "stop") {
    stop(words[1], words[2], std::stoi(words[3]), std::stoi(words[4]));
  } else if (words.size() == 4 && words[0] == "check") {
    check(words[1], words[2], std::stoi(words[3]));
  } else {
    std::cerr << "usage: store-writer run|stop|check FILE NAME NUMBER [NUMBER]\n";
    return 2;
  }
  return 0;
}

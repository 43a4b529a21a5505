#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "record_form/checksum.h"
#include "record_form/record_codec.h"
#include "report/facts/facts.h"

namespace report {
namespace {

constexpr int kApplicationId = 1263948371;
constexpr int kVersion = 1;

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct FinishStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

class Store {
 public:
  explicit Store(const std::filesystem::path& path) : name_(name_of(path)) {
    // Without a log beside it the file is complete, and SQLite need not make files beside it.
    std::filesystem::path log = path;
    log += "-wal";
    const bool has_log = std::filesystem::exists(log);
    const std::string uri = file_uri(path) + (has_log ? "?mode=ro" : "?immutable=1");
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(uri.c_str(), &opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    database_.reset(opened);
    require(result == SQLITE_OK);
    sqlite3_busy_timeout(database_.get(), 5000);
  }

  [[noreturn]] void fail(std::string_view why) const {
    throw ReadFailure(name_ + ": " + std::string(why));
  }

  void require(bool holds) const {
    if (!holds) {
      fail("is no record store that can be read");
    }
  }

  std::unique_ptr<sqlite3_stmt, FinishStatement> prepare(const char* sql) const {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) == SQLITE_OK);
    return std::unique_ptr<sqlite3_stmt, FinishStatement>(statement);
  }

  bool step(sqlite3_stmt* statement) const {
    const int result = sqlite3_step(statement);
    require(result == SQLITE_ROW || result == SQLITE_DONE);
    return result == SQLITE_ROW;
  }

  int number(const char* sql) const {
    const auto statement = prepare(sql);
    require(step(statement.get()));
    return sqlite3_column_int(statement.get(), 0);
  }

 private:
  std::string name_;
  std::unique_ptr<sqlite3, CloseDatabase> database_;
};

std::span<const std::byte> bytes_of(sqlite3_stmt* statement, int column) {
  const auto* const bytes = static_cast<const std::byte*>(sqlite3_column_blob(statement, column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

std::string text_of(sqlite3_stmt* statement, int column) {
  const auto bytes = bytes_of(statement, column);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The joined tests of one record; null if one of them is damaged or there are none.
RecordNest read_tests(const Store& store, sqlite3_stmt* tests, sqlite3_int64 record) {
  sqlite3_reset(tests);
  sqlite3_bind_int64(tests, 1, record);
  std::vector<RecordNest> parts;
  while (store.step(tests)) {
    const auto bytes = bytes_of(tests, 0);
    const auto checksum = static_cast<std::uint32_t>(sqlite3_column_int64(tests, 1));
    RecordNest part = crc32(bytes) == checksum ? decode_record(bytes) : nullptr;
    if (part == nullptr) {
      return nullptr;
    }
    parts.push_back(std::move(part));
  }
  return parts.empty() ? nullptr : join_records(std::move(parts));
}

}  // namespace

Facts read_store(const std::filesystem::path& path, const std::vector<std::string>& only) {
  Facts facts;
  facts.files.push_back(source_file(path, read_bytes(path)));
  const Store store(path);
  if (store.number("PRAGMA application_id") != kApplicationId) {
    store.fail("is no record store");
  }
  if (store.number("PRAGMA user_version") != kVersion) {
    store.fail("is a record store of another version");
  }
  const auto records = store.prepare("SELECT number, record_id FROM records ORDER BY number");
  const auto tests =
      store.prepare("SELECT data, data_checksum FROM tests WHERE record = ? ORDER BY number");
  std::vector<std::string> missing = only;
  while (store.step(records.get())) {
    const std::string id = text_of(records.get(), 1);
    if (!only.empty() && std::find(only.begin(), only.end(), id) == only.end()) {
      continue;
    }
    std::erase(missing, id);
    RecordNest nest = read_tests(store, tests.get(), sqlite3_column_int64(records.get(), 0));
    if (nest == nullptr) {
      facts.remarks.push_back("Record " + id + " is damaged in the store and left out.");
      continue;
    }
    facts.records.push_back({std::move(nest), Origin::kStore, facts.files.front().name, {}, true});
  }
  if (!missing.empty()) {
    store.fail("has no record " + missing.front());
  }
  return facts;
}

}  // namespace report

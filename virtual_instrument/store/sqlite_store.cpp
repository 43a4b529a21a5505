#include "virtual_instrument/store/sqlite_store.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "virtual_instrument/store/checksum.h"
#include "virtual_instrument/store/record_codec.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

// ---- The file ------------------------------------------------------------------------------

/// "KVRS". Tells a store from any other SQLite database.
constexpr std::uint32_t kApplicationId = 0x4B565253;
constexpr std::int32_t kSchemaVersion = 1;

struct Table {
  const char* name;
  const char* sql;
};

/// SQLite keeps these texts in the file as they stand, so they tell a version 1 as well. `head` is
/// an entry of a list of records, `data` a record as record_codec.h writes it; both have their
/// checksum beside them.
constexpr Table kTables[] = {
    {"records",
     "CREATE TABLE records (\n"
     "  number INTEGER PRIMARY KEY,\n"
     "  record_id TEXT NOT NULL UNIQUE,\n"
     "  family TEXT NOT NULL,\n"
     "  time INTEGER NOT NULL,\n"
     "  head BLOB NOT NULL,\n"
     "  head_checksum INTEGER NOT NULL\n"
     ")"},
    {"tests",
     "CREATE TABLE tests (\n"
     "  number INTEGER PRIMARY KEY,\n"
     "  record INTEGER NOT NULL,\n"
     "  data BLOB NOT NULL,\n"
     "  data_checksum INTEGER NOT NULL\n"
     ")"},
    {"tests_of_record", "CREATE INDEX tests_of_record ON tests (record, number)"},
};

/// A file up to this size is checked from end to end when it is opened. Checking a large one would
/// keep the operator waiting, so its damage is found when it is met.
constexpr std::uint64_t kCheckedWhole = 32 << 20;

/// The head of a database file, as far as it tells whose it is.
struct FileHead {
  std::array<char, 100> bytes{};

  std::uint32_t number_at(std::size_t offset) const {
    std::uint32_t number = 0;
    for (std::size_t i = offset; i < offset + sizeof number; ++i) {
      number = (number << 8) | static_cast<unsigned char>(bytes[i]);
    }
    return number;
  }
};

constexpr std::size_t kUserVersionOffset = 60;
constexpr std::size_t kApplicationIdOffset = 68;
constexpr std::string_view kMark("SQLite format 3\0", 16);

void require(bool holds, kvr_code code) {
  if (!holds) {
    throw StoreFailure{code};
  }
}

void require_our_version(std::int64_t application_id, std::int64_t version) {
  require(application_id == std::int64_t{kApplicationId}, KVR_RES_DB_SCHEMA_INCOMPATIBLE);
  require(version <= kSchemaVersion, KVR_RES_DB_SCHEMA_INCOMPATIBLE);
  require(version == kSchemaVersion, KVR_RES_DATABASE_SCHEMA_NOT_UPGRADED);
}

/// Looks at the file without SQLite, which could change even a file that it is to refuse: it moves
/// a left write-ahead log into it. An empty file is what is left of a store whose making was cut
/// short.
bool is_missing_or_empty(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) {
    return true;
  }
  require(fs::is_regular_file(status), KVR_RES_SQL_DATABASE_ERROR);
  FileHead head;
  std::ifstream file(path, std::ios::binary);
  require(file.is_open(), KVR_RES_SQL_DATABASE_ERROR);
  file.read(head.bytes.data(), static_cast<std::streamsize>(head.bytes.size()));
  if (file.gcount() == 0 && file.eof()) {
    return true;
  }
  require(file.good() && std::string_view(head.bytes.data(), kMark.size()) == kMark,
          KVR_RES_SQL_DATABASE_ERROR);
  require_our_version(head.number_at(kApplicationIdOffset),
                      static_cast<std::int32_t>(head.number_at(kUserVersionOffset)));
  return false;
}

std::uint64_t size_of(const fs::path& path) {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(path, error);
  return error ? 0 : size;
}

fs::path log_of(fs::path path) { return path += "-wal"; }

/// Every table and the marks of a store in one transaction. Two processes can come here at once, so
/// whoever comes second finds it done.
void create_tables(const SqliteConnection& database) {
  SqliteTransaction transaction(database);
  if (database.integer("SELECT count(*) FROM sqlite_schema") == 0) {
    for (const Table& table : kTables) {
      database.run(table.sql);
    }
    database.run("PRAGMA application_id = " + std::to_string(kApplicationId));
    database.run("PRAGMA user_version = " + std::to_string(kSchemaVersion));
  }
  transaction.commit();
}

void check_schema(const SqliteConnection& database) {
  require_our_version(database.integer("PRAGMA application_id"),
                      database.integer("PRAGMA user_version"));
  for (const Table& table : kTables) {
    SqliteStatement found = database.prepare("SELECT sql FROM sqlite_schema WHERE name = ?");
    require(found.bind(std::string_view(table.name)).step() && found.text(0) == table.sql,
            KVR_RES_DB_SCHEMA_INCOMPATIBLE);
  }
}

void check_integrity(const SqliteConnection& database) {
  SqliteStatement check = database.prepare("PRAGMA integrity_check(1)");
  require(check.step() && check.text(0) == "ok", KVR_RES_SQL_DATABASE_ERROR);
}

void limit_size(const SqliteConnection& database, std::uint64_t capacity) {
  const auto page_size = static_cast<std::uint64_t>(database.integer("PRAGMA page_size"));
  database.run("PRAGMA max_page_count = " +
               std::to_string(std::max(capacity / page_size, std::uint64_t{1})));
}

/// A file that nobody can write, on a disk on which nothing can be made, needs another way to be
/// read: SQLite would want files beside it for readers and writers to agree.
std::unique_ptr<SqliteConnection> open_existing(const StoreOptions& options) {
  auto database =
      std::make_unique<SqliteConnection>(options.path, SqliteAccess::kExisting, options.patience);
  database->checkpoint_on_close(false);
  if (!database->is_read_only() || size_of(log_of(options.path)) > 0) {
    return database;
  }
  try {
    database->integer("PRAGMA user_version");
  } catch (const StoreFailure& failure) {
    if (failure.code == KVR_RES_ANOTHER_INSTANCE_RUNNING) {
      throw;
    }
    database = std::make_unique<SqliteConnection>(options.path, SqliteAccess::kImmutable,
                                                  options.patience);
  }
  return database;
}

// ---- The records ---------------------------------------------------------------------------

template <class Value>
std::span<const std::byte> bytes_of(const Value& value) {
  return std::as_bytes(std::span(&value, 1));
}

/// Of a record or the head of one.
template <class Head>
std::string_view id_of(const Head& record) {
  const std::string_view field(record.record_id, sizeof record.record_id);
  return field.substr(0, field.find('\0'));
}

std::vector<std::byte> stored_form_of(const kvr_TestRecord& record) {
  require(!id_of(record).empty(), KVR_RES_INCORRECT_PARAMETERS);
  std::optional<std::vector<std::byte>> form = encode_record(record);
  require(form.has_value(), KVR_RES_DATA_INVALID);
  return *std::move(form);
}

void check_bytes(std::span<const std::byte> bytes, std::int64_t checksum) {
  require(crc32(bytes) == checksum, KVR_RES_DATA_INVALID);
}

kvr_TestLabel label_from(std::span<const std::byte> head, std::int64_t checksum) {
  check_bytes(head, checksum);
  kvr_TestLabel label;
  require(head.size() == sizeof label, KVR_RES_DATA_INVALID);
  std::memcpy(&label, head.data(), sizeof label);
  return label;
}

void insert_test(const SqliteConnection& database, std::int64_t record,
                 std::span<const std::byte> data) {
  database.prepare("INSERT INTO tests (record, data, data_checksum) VALUES (?, ?, ?)")
      .bind(record)
      .bind(data)
      .bind(std::int64_t{crc32(data)})
      .run();
}

bool has_record(const SqliteConnection& database, std::string_view record_id) {
  return database.prepare("SELECT 1 FROM records WHERE record_id = ?").bind(record_id).step();
}

}  // namespace

SqliteStore::SqliteStore(const StoreOptions& options) {
  state_ = guarded([&] { open(options); });
  if (state_ != KVR_RES_OK) {
    database_.reset();
  }
}

/// Turns what is thrown into codes.
template <class Operation>
kvr_code SqliteStore::guarded(Operation operation) {
  const std::lock_guard lock(mutex_);
  if (state_ != KVR_RES_OK) {
    return state_;
  }
  try {
    operation();
    return KVR_RES_OK;
  } catch (const StoreFailure& failure) {
    return failure.code;
  } catch (const std::bad_alloc&) {
    return KVR_RES_INTERNAL_ERROR;
  }
}

void SqliteStore::open(const StoreOptions& options) {
  const bool in_memory = options.path.empty();
  const bool is_new = in_memory || is_missing_or_empty(options.path);
  if (is_new) {
    require(!options.read_only, KVR_RES_SECONDARY_SDCARD_READ_ONLY);
    database_ =
        std::make_unique<SqliteConnection>(options.path, SqliteAccess::kCreate, options.patience);
    create_tables(*database_);
  } else {
    database_ = open_existing(options);
  }
  const bool log_is_left = size_of(log_of(options.path)) > 0;
  database_->checkpoint_on_close(!log_is_left);
  database_->run("PRAGMA cell_size_check = ON");
  check_schema(*database_);
  if (size_of(options.path) <= kCheckedWhole) {
    check_integrity(*database_);
  }
  if (options.read_only || database_->is_read_only()) {
    database_->run("PRAGMA query_only = ON");
    return;
  }
  if (!in_memory) {
    SqliteStatement mode = database_->prepare("PRAGMA journal_mode = WAL");
    require(mode.step() && mode.text(0) == "wal", KVR_RES_SQL_DATABASE_ERROR);
  }
  database_->run("PRAGMA synchronous = FULL");
  if (options.capacity > 0) {
    limit_size(*database_, options.capacity);
  }
  database_->checkpoint_on_close(true);
}

kvr_code SqliteStore::exists(std::string_view record_id, bool& exists) {
  return guarded([&] { exists = has_record(*database_, record_id); });
}

kvr_code SqliteStore::read(std::string_view record_id, RecordNest& record) {
  return guarded([&] {
    SqliteStatement row = database_->prepare(
        "SELECT data, data_checksum FROM tests"
        " WHERE record = (SELECT number FROM records WHERE record_id = ?) ORDER BY number");
    row.bind(record_id);
    std::vector<RecordNest> parts;
    while (row.step()) {
      check_bytes(row.bytes(0), row.integer(1));
      parts.push_back(decode_record(row.bytes(0)));
      require(parts.back() != nullptr, KVR_RES_DATA_INVALID);
    }
    require(!parts.empty(), KVR_RES_RECORD_NOT_FOUND);
    record = join_records(std::move(parts));
  });
}

kvr_code SqliteStore::save_new(const kvr_TestRecord& record, std::int64_t time) {
  return guarded([&] {
    const std::vector<std::byte> data = stored_form_of(record);
    const kvr_TestLabel label = label_of(record);
    SqliteTransaction transaction(*database_);
    require(!has_record(*database_, id_of(record)), KVR_RES_TESTID_EXISTS);
    database_
        ->prepare(
            "INSERT INTO records (record_id, family, time, head, head_checksum)"
            " VALUES (?, ?, ?, ?, ?)")
        .bind(id_of(record))
        .bind(family_of(record))
        .bind(time)
        .bind(bytes_of(label))
        .bind(std::int64_t{crc32(bytes_of(label))})
        .run();
    insert_test(*database_, database_->last_insert_id(), data);
    transaction.commit();
  });
}

kvr_code SqliteStore::add_test(const kvr_TestRecord& record) {
  return guarded([&] {
    const std::vector<std::byte> data = stored_form_of(record);
    SqliteTransaction transaction(*database_);
    SqliteStatement row = database_->prepare(
        "SELECT number, family, head, head_checksum FROM records WHERE record_id = ?");
    require(row.bind(id_of(record)).step(), KVR_RES_RECORD_NOT_FOUND);
    const std::int64_t number = row.integer(0);
    kvr_TestLabel label = label_from(row.bytes(2), row.integer(3));
    require(row.text(1) == family_of(record) && label.test_type == record.test_type,
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
    label.test_count += record.test_count;
    database_->prepare("UPDATE records SET head = ?, head_checksum = ? WHERE number = ?")
        .bind(bytes_of(label))
        .bind(std::int64_t{crc32(bytes_of(label))})
        .bind(number)
        .run();
    insert_test(*database_, number, data);
    transaction.commit();
  });
}

kvr_code SqliteStore::remove(std::string_view record_id) {
  return guarded([&] {
    SqliteTransaction transaction(*database_);
    database_
        ->prepare(
            "DELETE FROM tests"
            " WHERE record = (SELECT number FROM records WHERE record_id = ?)")
        .bind(record_id)
        .run();
    database_->prepare("DELETE FROM records WHERE record_id = ?").bind(record_id).run();
    require(database_->changed_rows() > 0, KVR_RES_RECORD_NOT_FOUND);
    transaction.commit();
  });
}

kvr_code SqliteStore::clear() {
  return guarded([&] {
    SqliteTransaction transaction(*database_);
    database_->run("DELETE FROM tests");
    database_->run("DELETE FROM records");
    transaction.commit();
  });
}

kvr_code SqliteStore::list(SortKey key, bool ascending, Labels& labels) {
  return guarded([&] {
    std::vector<StoredLabel> stored;
    SqliteStatement row = database_->prepare(
        "SELECT head, head_checksum, time, record_id FROM records ORDER BY number");
    while (row.step()) {
      const kvr_TestLabel label = label_from(row.bytes(0), row.integer(1));
      require(id_of(label) == row.text(3), KVR_RES_DATA_INVALID);
      stored.push_back({label, row.integer(2)});
    }
    labels = ordered_list(stored, key, ascending);
  });
}

}  // namespace virtual_instrument

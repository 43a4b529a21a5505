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
#include <thread>
#include <utility>
#include <vector>

#include "record_form/record_codec.h"
#include "virtual_instrument/store/checksum.h"
#include "virtual_instrument/store/patient_lock.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

// ---- The file ------------------------------------------------------------------------------

/// "KVRS". Distinguishes a store from any other SQLite database.
constexpr std::uint32_t kApplicationId = 0x4B565253;
constexpr std::int32_t kSchemaVersion = 1;

struct Table {
  const char* name;
  const char* sql;
};

/// SQLite keeps these texts in the file unchanged, so they also identify version 1. `head` is an
/// entry of a list of records, `data` a record as record_codec.h writes it. Checksums protect
/// content that SQLite does not check; that of a head also covers `time` and `family`.
constexpr Table kTables[] = {
    {"records",
     "CREATE TABLE records (\n"
     "  number INTEGER PRIMARY KEY,\n"
     "  record_id TEXT NOT NULL UNIQUE,\n"
     "  head BLOB NOT NULL,\n"
     "  time INTEGER NOT NULL,\n"
     "  family TEXT NOT NULL,\n"
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

/// A file up to this size is checked completely when it is opened. A check of a larger one would
/// keep the operator waiting, so its damage is found only when it is read.
constexpr std::uint64_t kCheckedWhole = 32 << 20;

/// The part of a database file's head that identifies its owner.
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

/// Checks the file without SQLite, which can change a file that we then refuse: it moves a leftover
/// write-ahead log into it. An empty file is an interrupted creation.
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

/// Makes all tables and the marks of a store in one transaction. Two processes can do this at once;
/// the second one finds it done.
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

/// This is the only place where SQLite does not wait for other processes.
void use_log(const SqliteConnection& database, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  for (;;) {
    try {
      SqliteStatement mode = database.prepare("PRAGMA journal_mode = WAL");
      require(mode.step() && mode.text(0) == "wal", KVR_RES_SQL_DATABASE_ERROR);
      return;
    } catch (const StoreFailure& failure) {
      if (failure.code != KVR_RES_ANOTHER_INSTANCE_RUNNING ||
          std::chrono::steady_clock::now() >= deadline) {
        throw;
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
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

/// SQLite needs files beside the database to coordinate readers and writers. Where it can't make
/// them, it fails.
bool can_be_read(const SqliteConnection& database) {
  try {
    database.integer("PRAGMA user_version");
    return true;
  } catch (const StoreFailure& failure) {
    return failure.code == KVR_RES_ANOTHER_INSTANCE_RUNNING;
  }
}

/// Opens a file without changing it or a leftover log beside it, also if a later step fails.
std::unique_ptr<SqliteConnection> open_existing(const StoreOptions& options) {
  const bool log_is_left = size_of(log_of(options.path)) > 0;
  auto database =
      std::make_unique<SqliteConnection>(options.path, SqliteAccess::kExisting, options.patience);
  database->checkpoint_on_close(!log_is_left);
  if (database->is_read_only() && !log_is_left && !can_be_read(*database)) {
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

/// For a record or the head of one.
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

/// The columns of the table of records other than the ID.
struct StoredHead {
  kvr_TestLabel label;
  std::int64_t time;
  std::string family;

  std::int64_t checksum() const {
    return crc32(std::as_bytes(std::span(family)), crc32(bytes_of(time), crc32(bytes_of(label))));
  }
};

constexpr std::string_view kHeadColumns = "number, record_id, head, time, family, head_checksum";

StoredHead head_from(const SqliteStatement& row) {
  StoredHead head{.label = {}, .time = row.integer(3), .family = std::string(row.text(4))};
  const std::span<const std::byte> label = row.bytes(2);
  require(label.size() == sizeof head.label, KVR_RES_DATA_INVALID);
  std::memcpy(&head.label, label.data(), sizeof head.label);
  require(head.checksum() == row.integer(5) && id_of(head.label) == row.text(1),
          KVR_RES_DATA_INVALID);
  return head;
}

/// A stored record. While this object lives, other statements of the connection see the store as of
/// when the record was found.
struct FoundRecord {
  SqliteStatement row;
  std::int64_t number;
  StoredHead head;
};

FoundRecord find_record(const SqliteConnection& database, std::string_view record_id) {
  SqliteStatement row =
      database.prepare("SELECT " + std::string(kHeadColumns) + " FROM records WHERE record_id = ?");
  require(row.bind(record_id).step(), KVR_RES_RECORD_NOT_FOUND);
  const std::int64_t number = row.integer(0);
  StoredHead head = head_from(row);
  return {std::move(row), number, std::move(head)};
}

RecordNest record_from(const SqliteStatement& row) {
  const std::span<const std::byte> data = row.bytes(0);
  RecordNest record = crc32(data) == row.integer(1) ? decode_record(data) : nullptr;
  require(record != nullptr, KVR_RES_DATA_INVALID);
  return record;
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

SqliteStore::~SqliteStore() { close(); }

void SqliteStore::close() {
  const std::lock_guard lock(mutex_);
  close_locked();
}

bool SqliteStore::close_within(std::chrono::milliseconds patience) {
  const std::unique_lock lock = lock_within(mutex_, patience);
  if (lock) {
    close_locked();
  }
  return lock.owns_lock();
}

/// SQLite moves the log when the last connection closes. If two close at once, each sees the other
/// as still open, so the log is moved before.
void SqliteStore::close_locked() {
  if (state_ == KVR_RES_OK) {
    state_ = KVR_RES_LIB_NOT_INITIALIZED;
  }
  if (database_ != nullptr && keeps_log_) {
    database_->checkpoint();
  }
  database_.reset();
}

/// Turns exceptions into codes.
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
  if (in_memory || is_missing_or_empty(options.path)) {
    require(!options.read_only, KVR_RES_SECONDARY_SDCARD_READ_ONLY);
    database_ =
        std::make_unique<SqliteConnection>(options.path, SqliteAccess::kCreate, options.patience);
  } else {
    database_ = open_existing(options);
  }
  // SQLite undoes an interrupted creation when it first reads the file.
  database_->integer("PRAGMA user_version");
  if (size_of(options.path) == 0) {
    require(!options.read_only, KVR_RES_SECONDARY_SDCARD_READ_ONLY);
    create_tables(*database_);
  }
  database_->run("PRAGMA cell_size_check = ON");
  check_schema(*database_);
  if (size_of(options.path) <= kCheckedWhole) {
    check_integrity(*database_);
  }
  read_only_ = options.read_only || database_->is_read_only();
  if (read_only_) {
    database_->run("PRAGMA query_only = ON");
    return;
  }
  if (!in_memory) {
    use_log(*database_, options.patience);
  }
  database_->run("PRAGMA synchronous = FULL");
  if (options.capacity > 0) {
    limit_size(*database_, options.capacity);
  }
  database_->checkpoint_on_close(true);
  keeps_log_ = !in_memory;
  if (keeps_log_) {
    database_->checkpoint();  // the log of a killed process
  }
}

kvr_code SqliteStore::exists(std::string_view record_id, bool& exists) {
  return guarded([&] { exists = has_record(*database_, record_id); });
}

kvr_code SqliteStore::head(std::string_view record_id, kvr_TestLabel& head) {
  return guarded([&] { head = find_record(*database_, record_id).head.label; });
}

kvr_code SqliteStore::read(std::string_view record_id, RecordNest& record) {
  return guarded([&] {
    const FoundRecord found = find_record(*database_, record_id);
    SqliteStatement row = database_->prepare(
        "SELECT data, data_checksum FROM tests WHERE record = ? ORDER BY number");
    row.bind(found.number);
    std::vector<RecordNest> parts;
    while (row.step()) {
      parts.push_back(record_from(row));
    }
    require(!parts.empty(), KVR_RES_DATA_INVALID);
    RecordNest joined = join_records(std::move(parts));
    require(joined->test_count == found.head.label.test_count, KVR_RES_DATA_INVALID);
    record = std::move(joined);
  });
}

kvr_code SqliteStore::save_new(const kvr_TestRecord& record, std::int64_t time) {
  return guarded([&] {
    const std::vector<std::byte> data = stored_form_of(record);
    const StoredHead head{label_of(record), time, std::string(family_of(record))};
    SqliteTransaction transaction(*database_);
    require(!has_record(*database_, id_of(record)), KVR_RES_TESTID_EXISTS);
    database_
        ->prepare(
            "INSERT INTO records (record_id, head, time, family, head_checksum)"
            " VALUES (?, ?, ?, ?, ?)")
        .bind(id_of(record))
        .bind(bytes_of(head.label))
        .bind(head.time)
        .bind(std::string_view(head.family))
        .bind(head.checksum())
        .run();
    insert_test(*database_, database_->last_insert_id(), data);
    transaction.commit();
  });
}

kvr_code SqliteStore::add_test(const kvr_TestRecord& record, kvr_TestLabel& head) {
  return guarded([&] {
    const std::vector<std::byte> data = stored_form_of(record);
    SqliteTransaction transaction(*database_);
    FoundRecord found = find_record(*database_, id_of(record));
    StoredHead& grown = found.head;
    require(grown.family == family_of(record) && grown.label.test_type == record.test_type,
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
    grown.label.test_count += record.test_count;
    database_->prepare("UPDATE records SET head = ?, head_checksum = ? WHERE number = ?")
        .bind(bytes_of(grown.label))
        .bind(grown.checksum())
        .bind(found.number)
        .run();
    insert_test(*database_, found.number, data);
    transaction.commit();
    head = grown.label;
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
    SqliteStatement row =
        database_->prepare("SELECT " + std::string(kHeadColumns) + " FROM records ORDER BY number");
    while (row.step()) {
      const StoredHead head = head_from(row);
      stored.push_back({head.label, head.time});
    }
    labels = ordered_list(stored, key, ascending);
  });
}

}  // namespace virtual_instrument

#include "virtual_instrument/store/store_file.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

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

}  // namespace

OpenStore open_store(const StoreOptions& options) {
  OpenStore opened;
  const bool in_memory = options.path.empty();
  if (in_memory || is_missing_or_empty(options.path)) {
    require(!options.read_only, KVR_RES_SECONDARY_SDCARD_READ_ONLY);
    opened.database =
        std::make_unique<SqliteConnection>(options.path, SqliteAccess::kCreate, options.patience);
  } else {
    opened.database = open_existing(options);
  }
  // SQLite undoes an interrupted creation when it first reads the file.
  opened.database->integer("PRAGMA user_version");
  if (size_of(options.path) == 0) {
    require(!options.read_only, KVR_RES_SECONDARY_SDCARD_READ_ONLY);
    create_tables(*opened.database);
  }
  opened.database->run("PRAGMA cell_size_check = ON");
  check_schema(*opened.database);
  if (size_of(options.path) <= kCheckedWhole) {
    check_integrity(*opened.database);
  }
  opened.read_only = options.read_only || opened.database->is_read_only();
  if (opened.read_only) {
    opened.database->run("PRAGMA query_only = ON");
    return opened;
  }
  if (!in_memory) {
    use_log(*opened.database, options.patience);
  }
  opened.database->run("PRAGMA synchronous = FULL");
  if (options.capacity > 0) {
    limit_size(*opened.database, options.capacity);
  }
  opened.database->checkpoint_on_close(true);
  opened.keeps_log = !in_memory;
  if (opened.keeps_log) {
    opened.database->checkpoint();  // the log of a killed process
  }
  return opened;
}

}  // namespace virtual_instrument

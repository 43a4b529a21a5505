#include "virtual_instrument/store/sqlite_connection.h"

#include <sqlite3.h>

#include <string>
#include <string_view>

namespace virtual_instrument {
namespace {

/// Bound values stay valid until the statement has run. This is SQLITE_STATIC without its cast.
constexpr sqlite3_destructor_type kStaysInPlace = nullptr;

struct CodePair {
  int result;
  kvr_code code;
};

/// Looked up by extended code first, then by primary code. All others are database errors.
constexpr CodePair kCodes[] = {
    // SQLite has its own code for too little room for the shared index of the write-ahead log.
    {SQLITE_IOERR_SHMSIZE, KVR_RES_DISK_FULL},
    {SQLITE_IOERR_NOMEM, KVR_RES_INTERNAL_ERROR},
    {SQLITE_OK, KVR_RES_OK},
    {SQLITE_FULL, KVR_RES_DISK_FULL},
    {SQLITE_READONLY, KVR_RES_SECONDARY_SDCARD_READ_ONLY},
    {SQLITE_IOERR, KVR_RES_SECONDARY_SDCARD_HW_ERROR},
    {SQLITE_BUSY, KVR_RES_ANOTHER_INSTANCE_RUNNING},
    {SQLITE_LOCKED, KVR_RES_ANOTHER_INSTANCE_RUNNING},
    {SQLITE_PROTOCOL, KVR_RES_ANOTHER_INSTANCE_RUNNING},
    {SQLITE_NOMEM, KVR_RES_INTERNAL_ERROR},
    {SQLITE_TOOBIG, KVR_RES_DATA_INVALID},
};

const kvr_code* find_code(int result) {
  for (const CodePair& pair : kCodes) {
    if (pair.result == result) {
      return &pair.code;
    }
  }
  return nullptr;
}

void require_ok(int result) {
  if (result != SQLITE_OK) {
    throw StoreFailure{code_of_sqlite(result)};
  }
}

/// SQLite never interprets an absolute path as one of its special names.
std::string name_of(const std::filesystem::path& path) {
  if (path.empty()) {
    return ":memory:";
  }
  const std::u8string name = std::filesystem::absolute(path).generic_u8string();
  return {name.begin(), name.end()};
}

std::string immutable_uri_of(const std::filesystem::path& path) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const std::string name = name_of(path);
  std::string uri = name.front() == '/' ? "file:" : "file:///";
  for (const char character : name) {
    if (std::string_view("%?#").find(character) == std::string_view::npos) {
      uri += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      uri += {'%', kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
  }
  return uri + "?immutable=1";
}

int open_database(const std::filesystem::path& path, SqliteAccess access, sqlite3** connection) {
  const auto open = [connection](const std::string& name, int flags) {
    return sqlite3_open_v2(name.c_str(), connection, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  };
  switch (access) {
    case SqliteAccess::kExisting:
      return open(name_of(path), SQLITE_OPEN_READWRITE);
    case SqliteAccess::kImmutable:
      return open(immutable_uri_of(path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    case SqliteAccess::kCreate:
      break;
  }
  return open(name_of(path), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
}

}  // namespace

void require(bool holds, kvr_code code) {
  if (!holds) {
    throw StoreFailure{code};
  }
}

kvr_code code_of_sqlite(int result) {
  constexpr int kPrimary = 0xFF;
  const kvr_code* code = find_code(result);
  if (code == nullptr) {
    code = find_code(result & kPrimary);
  }
  return code == nullptr ? KVR_RES_SQL_DATABASE_ERROR : *code;
}

SqliteStatement::SqliteStatement(sqlite3* connection, std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  require_ok(sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &statement,
                                nullptr));
  statement_.reset(statement);
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

SqliteStatement& SqliteStatement::bind(std::int64_t value) {
  require_ok(sqlite3_bind_int64(statement_.get(), ++bound_, value));
  return *this;
}

// A null pointer would be bound as NULL, which differs from an empty text or value.
SqliteStatement& SqliteStatement::bind(std::string_view text) {
  require_ok(sqlite3_bind_text64(statement_.get(), ++bound_, text.empty() ? "" : text.data(),
                                 text.size(), kStaysInPlace, SQLITE_UTF8));
  return *this;
}

SqliteStatement& SqliteStatement::bind(std::span<const std::byte> bytes) {
  require_ok(sqlite3_bind_blob64(statement_.get(), ++bound_,
                                 bytes.empty() ? "" : static_cast<const void*>(bytes.data()),
                                 bytes.size(), kStaysInPlace));
  return *this;
}

bool SqliteStatement::step() {
  const int result = sqlite3_step(statement_.get());
  if (result == SQLITE_ROW) {
    return true;
  }
  if (result != SQLITE_DONE) {
    throw StoreFailure{code_of_sqlite(result)};
  }
  return false;
}

void SqliteStatement::run() {
  while (step()) {
  }
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string_view SqliteStatement::text(int column) const {
  const std::span<const std::byte> characters = bytes(column);
  return {reinterpret_cast<const char*>(characters.data()), characters.size()};
}

std::span<const std::byte> SqliteStatement::bytes(int column) const {
  const void* data = sqlite3_column_blob(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return {static_cast<const std::byte*>(data), static_cast<std::size_t>(size)};
}

SqliteConnection::SqliteConnection(const std::filesystem::path& path, SqliteAccess access,
                                   std::chrono::milliseconds patience) {
  sqlite3* connection = nullptr;
  const int result = open_database(path, access, &connection);
  connection_.reset(connection);
  require_ok(result);
  sqlite3_extended_result_codes(connection, 1);
  sqlite3_busy_timeout(connection, static_cast<int>(patience.count()));
}

void SqliteConnection::Close::operator()(sqlite3* connection) const { sqlite3_close(connection); }

SqliteStatement SqliteConnection::prepare(std::string_view sql) const {
  return {connection_.get(), sql};
}

std::int64_t SqliteConnection::integer(std::string_view sql) const {
  SqliteStatement statement = prepare(sql);
  statement.step();
  return statement.integer(0);
}

std::int64_t SqliteConnection::last_insert_id() const {
  return sqlite3_last_insert_rowid(connection_.get());
}

std::int64_t SqliteConnection::changed_rows() const { return sqlite3_changes(connection_.get()); }

bool SqliteConnection::is_read_only() const {
  return sqlite3_db_readonly(connection_.get(), "main") == 1;
}

void SqliteConnection::checkpoint_on_close(bool wanted) const {
  sqlite3_db_config(connection_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, wanted ? 0 : 1, nullptr);
}

void SqliteConnection::checkpoint() const {
  sqlite3_wal_checkpoint_v2(connection_.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr,
                            nullptr);
}

SqliteTransaction::SqliteTransaction(const SqliteConnection& connection) : connection_(connection) {
  connection_.run("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction() {
  if (open_) {
    try {
      connection_.run("ROLLBACK");
    } catch (const StoreFailure&) {
      // After some failures SQLite has already rolled back by itself.
    }
  }
}

void SqliteTransaction::commit() {
  connection_.run("COMMIT");
  open_ = false;
}

}  // namespace virtual_instrument

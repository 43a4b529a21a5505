#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>

#include "api/codes.h"

struct sqlite3;
struct sqlite3_stmt;

// SQLite for the record store: a connection, statements and a transaction that clean up after
// themselves. Failures are thrown as a StoreFailure with the client library's code.

namespace virtual_instrument {

struct StoreFailure {
  kvr_code code;
};

/// Throws a StoreFailure with `code` unless `holds`.
void require(bool holds, kvr_code code);

/// The client library's code for a result code of SQLite, extended or not.
kvr_code code_of_sqlite(int result);

/// One prepared statement. Parameters are bound left to right, columns are read by their index from
/// 0; a view of a column is valid until the next step().
class SqliteStatement {
 public:
  SqliteStatement(sqlite3* connection, std::string_view sql);

  SqliteStatement& bind(std::int64_t value);
  SqliteStatement& bind(std::string_view text);
  SqliteStatement& bind(std::span<const std::byte> bytes);

  /// Goes to the next row; false when there is none.
  bool step();

  /// Runs a statement without rows, or whose rows are not needed.
  void run();

  std::int64_t integer(int column) const;
  std::string_view text(int column) const;
  std::span<const std::byte> bytes(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  int bound_ = 0;
};

enum class SqliteAccess {
  kCreate,     ///< reading and writing; a missing database is made
  kExisting,   ///< reading and writing; only reading if the file can't be written
  kImmutable,  ///< reading what no process can change: no locks, no files beside the database
};

class SqliteConnection {
 public:
  /// An empty path is a database in memory. Each operation waits up to `patience` for other
  /// processes that hold the database.
  SqliteConnection(const std::filesystem::path& path, SqliteAccess access,
                   std::chrono::milliseconds patience);

  SqliteStatement prepare(std::string_view sql) const;
  void run(std::string_view sql) const { prepare(sql).run(); }

  /// The single value that a query or pragma returns.
  std::int64_t integer(std::string_view sql) const;

  std::int64_t last_insert_id() const;
  std::int64_t changed_rows() const;

  /// Whether the database can't be written, in spite of the access asked for.
  bool is_read_only() const;

  /// Sets whether closing moves the write-ahead log into the file; by default it does.
  void checkpoint_on_close(bool wanted) const;

  /// Moves the write-ahead log into the file, as far as other users of the file allow without
  /// waiting. The rest stays in the log and is not lost.
  void checkpoint() const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  std::unique_ptr<sqlite3, Close> connection_;
};

/// All changes take effect at commit(), or none do. It holds the write lock from its beginning, so
/// that it can't fail half way because another process writes.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(const SqliteConnection& connection);
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;

  void commit();

 private:
  const SqliteConnection& connection_;
  bool open_ = true;
};

}  // namespace virtual_instrument

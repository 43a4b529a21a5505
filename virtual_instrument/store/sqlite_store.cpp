#include "virtual_instrument/store/sqlite_store.h"

#include <cstring>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "record_form/checksum.h"
#include "record_form/record_codec.h"
#include "virtual_instrument/store/patient_lock.h"

namespace virtual_instrument {
namespace {

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

void require_same_kind(const StoredHead& head, kvr_TestType type, std::string_view family) {
  require(head.label.test_type == type && head.family == family, KVR_RES_TEST_CONFIG_INCOMPATIBLE);
}

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

SqliteStore::SqliteStore(const StoreOptions& options) : options_(options) {
  const bool in_memory = options_.path.empty();
  if (!in_memory) {
    state_ = guarded([] {});  // opens the file, so that what is wrong with it is known from now on
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

void SqliteStore::open_locked() {
  OpenStore opened = open_store(options_);
  database_ = std::move(opened.database);
  read_only_ = opened.read_only;
  keeps_log_ = opened.keeps_log;
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
    if (database_ == nullptr) {
      open_locked();
    }
    operation();
    return KVR_RES_OK;
  } catch (const StoreFailure& failure) {
    return failure.code;
  } catch (const std::bad_alloc&) {
    return KVR_RES_INTERNAL_ERROR;
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
    require_same_kind(grown, record.test_type, family_of(record));
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

kvr_code SqliteStore::check_addition(std::string_view record_id, kvr_TestType type,
                                     std::string_view family) {
  return guarded([&] { require_same_kind(find_record(*database_, record_id).head, type, family); });
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
    stored.reserve(static_cast<std::size_t>(database_->integer("SELECT count(*) FROM records")));
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

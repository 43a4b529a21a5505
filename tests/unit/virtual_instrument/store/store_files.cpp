#include "unit/virtual_instrument/store/store_files.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "record_form/checksum.h"
#include "record_form/record_codec.h"
#include "virtual_instrument/store/sqlite_connection.h"

namespace fs = std::filesystem;
using virtual_instrument::Labels;
using virtual_instrument::SortKey;
using virtual_instrument::SqliteStore;

std::string rows_of(const fs::path& file, const std::string& sql) {
  sqlite3* opened = nullptr;
  const int result = sqlite3_open(file.string().c_str(), &opened);
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection(opened, sqlite3_close);
  std::string rows;
  const auto add_row = [](void* text, int count, char** values, char**) {
    for (int i = 0; i < count; ++i) {
      *static_cast<std::string*>(text) +=
          std::string(i > 0 ? "|" : "") + (values[i] ? values[i] : "");
    }
    *static_cast<std::string*>(text) += "\n";
    return 0;
  };
  if (result != SQLITE_OK ||
      sqlite3_exec(opened, sql.c_str(), add_row, &rows, nullptr) != SQLITE_OK) {
    throw std::runtime_error(std::string(sqlite3_errmsg(opened)) + " in " + sql);
  }
  return rows;
}

void run_sql(const fs::path& file, const std::string& sql) { rows_of(file, sql); }

void fill_store(const fs::path& file, int count, const kvr_TestRecord& record, bool with_tests) {
  { SqliteStore made({.path = file}); }
  const virtual_instrument::SqliteConnection database(
      file, virtual_instrument::SqliteAccess::kExisting, std::chrono::seconds(5));
  // No journal: this halves the writing, and a file that a test makes needs no recovery.
  database.run("PRAGMA journal_mode = OFF");
  virtual_instrument::SqliteTransaction transaction(database);
  const std::string id = record.record_id;
  const std::string family(family_of(record));
  kvr_TestRecord numbered = record;
  for (std::int64_t number = 0; number < count; ++number) {
    const std::string numbered_id = id + std::to_string(number);
    numbered_id.copy(numbered.record_id, kIdSize - 1);
    const kvr_TestLabel label = label_of(numbered);
    const auto label_bytes = std::as_bytes(std::span(&label, 1));
    std::uint32_t checksum = crc32(label_bytes);
    checksum = crc32(std::as_bytes(std::span(&number, 1)), checksum);
    checksum = crc32(std::as_bytes(std::span(family)), checksum);
    database.prepare("INSERT INTO records VALUES (?, ?, ?, ?, ?, ?)")
        .bind(number)
        .bind(std::string_view(numbered_id))
        .bind(label_bytes)
        .bind(number)
        .bind(std::string_view(family))
        .bind(std::int64_t{checksum})
        .run();
    if (!with_tests) {
      continue;
    }
    const auto data = encode_record(numbered).value();
    database.prepare("INSERT INTO tests (record, data, data_checksum) VALUES (?, ?, ?)")
        .bind(number)
        .bind(std::span<const std::byte>(data))
        .bind(std::int64_t{crc32(data)})
        .run();
  }
  transaction.commit();
}

std::string bytes_of_file(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    throw std::runtime_error("no file " + file.string());
  }
  return {std::istreambuf_iterator<char>(stream), {}};
}

void write_file(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

std::vector<std::string> files_in(const fs::path& folder) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string contents_of(SqliteStore& store) {
  std::ostringstream contents;
  Labels labels;
  if (const kvr_code code = store.list(SortKey::kDateTime, true, labels); code != KVR_RES_OK) {
    contents << "[" << code << "]";
    return contents.str();
  }
  for (std::uint32_t i = 0; i < labels->count; ++i) {
    const kvr_TestLabel& label = labels->entries[i];
    contents << label.record_id << "#" << label.test_count << ":";
    RecordNest record;
    if (const kvr_code code = store.read(label.record_id, record); code != KVR_RES_OK) {
      contents << "[" << code << "]";
    } else {
      for (std::uint32_t test = 0; test < record->data_count; ++test) {
        contents << (test > 0 ? "," : "") << record->data_ratio_1ph[test]->phase.tnr;
      }
    }
    contents << " ";
  }
  return contents.str();
}

std::string contents_of(const fs::path& file) {
  SqliteStore store({.path = file});
  return contents_of(store);
}

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "virtual_instrument/store/sqlite_store.h"

// Helpers for tests of the record store: read and make store files as bytes and as databases, and
// show the content of a store as text.

/// Runs statements on a database file, not through the store. Throws std::runtime_error on failure.
void run_sql(const std::filesystem::path& file, const std::string& sql);

/// The rows of a query, columns joined by "|", each row ended by a line feed.
std::string rows_of(const std::filesystem::path& file, const std::string& sql);

std::string bytes_of_file(const std::filesystem::path& file);
void write_file(const std::filesystem::path& file, const std::string& bytes);

/// Adds a test, without the head that the store returns.
inline kvr_code add_to(virtual_instrument::SqliteStore& store, const kvr_TestRecord& record) {
  kvr_TestLabel head;
  return store.add_test(record, head);
}

/// Names of the files in a folder, sorted.
std::vector<std::string> files_in(const std::filesystem::path& folder);

/// Makes a store of `count` records like `record`; each one's number follows its ID and is its
/// time. `with_tests` false leaves their tests out. They are inserted directly, since the store
/// would take a transaction for each.
void fill_store(const std::filesystem::path& file, int count, const kvr_TestRecord& record,
                bool with_tests);

/// All that a store of single-phase records holds, oldest first: "ID#tests:ratio,ratio " for each.
/// A refused call shows as its code in brackets.
std::string contents_of(virtual_instrument::SqliteStore& store);
std::string contents_of(const std::filesystem::path& file);

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "virtual_instrument/store/sqlite_store.h"

// What tests of the record store look at and lay out: store files as bytes and as databases, and
// the contents of a store as a text.

/// Runs statements on a database file, past the store. Throws std::runtime_error on failure.
void run_sql(const std::filesystem::path& file, const std::string& sql);

/// The rows of a query, columns joined by "|", each row ended by a line feed.
std::string rows_of(const std::filesystem::path& file, const std::string& sql);

std::string bytes_of_file(const std::filesystem::path& file);
void write_file(const std::filesystem::path& file, const std::string& bytes);

/// Adds a test where the head that comes back doesn't matter.
inline kvr_code add_to(virtual_instrument::SqliteStore& store, const kvr_TestRecord& record) {
  kvr_TestLabel head;
  return store.add_test(record, head);
}

/// Names of the files in a folder, sorted.
std::vector<std::string> files_in(const std::filesystem::path& folder);

/// Makes a store of `count` records like `record`, with the number of each behind its ID and as its
/// time; `with_tests` false leaves their tests out. They are put in past the store, which would
/// take a transaction for each.
void fill_store(const std::filesystem::path& file, int count, const kvr_TestRecord& record,
                bool with_tests);

/// All that a store of single-phase records holds, oldest first: "ID#tests:ratio,ratio " for each.
/// A refused call stands as its code in brackets.
std::string contents_of(virtual_instrument::SqliteStore& store);
std::string contents_of(const std::filesystem::path& file);

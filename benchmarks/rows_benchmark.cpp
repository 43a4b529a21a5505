// Rows of the export files and of the series files. An item is one row.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "benchmarks.h"
#include "child_process.h"
#include "flows/run_files.h"
#include "peers.h"
#include "records/record_export.h"
#include "sample_records.h"

namespace {

namespace fs = std::filesystem;

using Record = std::shared_ptr<OwnedRecord>;
using WriteRows = void (*)(std::ostream& file, const kvr_TestRecord& record);

/// Number of rows that the floor writes into its one buffer.
constexpr std::int64_t kRowsAtOnce = 1'000;
constexpr std::int64_t kMostRows = 1'000'000;

struct RowKind {
  std::string name;
  WriteRows write;
  Record record;
  std::string row;
  std::size_t numbers;  ///< numbers in a row
  bool is_general;      ///< general notation; else fixed, with 8 decimals
};

void set_notation(std::ostream& out, const RowKind& kind) {
  if (!kind.is_general) {
    out << std::fixed;
    out.precision(8);
  }
}

RowKind row_kind(std::string name, WriteRows write, OwnedRecord record, std::size_t numbers,
                 bool is_general) {
  RowKind kind{std::move(name), write,     std::make_shared<OwnedRecord>(std::move(record)), {},
               numbers,         is_general};
  std::ostringstream out;
  set_notation(out, kind);
  kind.write(out, *kind.record->get());
  kind.row = out.str();
  if (PrintedText(kind.row, is_general).numbers() != numbers) {
    throw std::logic_error("not all numbers are recognised in " + kind.row);
  }
  return kind;
}

fs::path file_on_disk() { return fs::temp_directory_path() / "kvr-benchmark-rows.csv"; }

/// Writes a new file of range(0) rows each time.
void write_file(benchmark::State& state, const RowKind& kind, const fs::path& path) {
  for (auto _ : state) {
    std::ofstream file(path);
    set_notation(file, kind);
    for (std::int64_t row = 0; row < state.range(0); ++row) {
      kind.write(file, *kind.record->get());
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Writes all rows into one buffer, and the buffer to the file at once.
void write_floor_file(benchmark::State& state, const RowKind& kind, const fs::path& path) {
  const PrintedText printed(kind.row, kind.is_general);
  std::string buffer(printed.size() * kRowsAtOnce + PrintedText::kSpareRoom, '\0');
  for (auto _ : state) {
    char* end = buffer.data();
    for (std::int64_t row = 0; row < kRowsAtOnce; ++row) {
      end = printed.write_by_to_chars(end);
    }
    std::ofstream(path).write(buffer.data(), end - buffer.data());
  }
  state.SetItemsProcessed(state.iterations() * kRowsAtOnce);
}

void register_files(const RowKind& kind, const std::string& suffix, const fs::path& path) {
  benchmark::RegisterBenchmark((kind.name + suffix + "/program").c_str(), write_file, kind, path)
      ->Arg(kRowsAtOnce);
  benchmark::RegisterBenchmark((kind.name + suffix + "/floor").c_str(), write_floor_file, kind,
                               path);
}

/// A column for each value of a row, and one more if the row ends in a comma.
std::string create_table(const RowKind& kind) {
  const auto commas = std::count(kind.row.begin(), kind.row.end(), ',');
  std::string sql = "CREATE TABLE rows (c0 NUMERIC";
  for (std::ptrdiff_t column = 1; column <= commas; ++column) {
    sql += ", c" + std::to_string(column) + " NUMERIC";
  }
  return sql + ")";
}

/// The same rows by the SQLite shell, from a table that it has read before. Its time is the
/// processor time of the whole process.
void write_by_sqlite(benchmark::State& state, const RowKind& kind) {
  constexpr std::int64_t kRows = 20'000;
  const fs::path database = fs::temp_directory_path() / "kvr-benchmark.db";
  fs::remove(database);
  {
    std::ofstream rows(file_on_disk());
    for (std::int64_t row = 0; row < kRows; ++row) {
      rows << kind.row;
    }
  }
  run_process({"sqlite3", database.string(), create_table(kind),
               ".import --csv " + file_on_disk().string() + " rows"});
  for (auto _ : state) {
    state.SetIterationTime(run_process({"sqlite3", "-csv", database.string(), "SELECT * FROM rows"})
                               .processor_seconds);
  }
  state.SetItemsProcessed(state.iterations() * kRows);
  fs::remove(database);
}

}  // namespace

void register_rows() {
  const RowKind kExports[] = {
      row_kind("export_three_phase", write_three_phase_export, three_phase_ratio(), 54, true),
      row_kind("export_single_phase", write_single_phase_export, single_phase_ratio(), 12, true)};
  const RowKind kSeries[] = {
      row_kind("series_three_phase", write_three_phase_rows, three_phase_ratio(), 48, false),
      row_kind("series_single_phase", write_single_phase_rows, single_phase_ratio(), 11, false)};
  for (const RowKind& kind : kExports) {
    register_files(kind, "", "/dev/null");
    register_text_peers(kind.name, kind.row, kind.is_general);
    benchmark::RegisterBenchmark((kind.name + "/sqlite").c_str(), write_by_sqlite, kind)
        ->UseManualTime();
    register_files(kind, "_to_disk", file_on_disk());
    benchmark::RegisterBenchmark((kind.name + "/growth").c_str(), write_file, kind, "/dev/null")
        ->RangeMultiplier(10)
        ->Range(kRowsAtOnce, kMostRows);
  }
  for (const RowKind& kind : kSeries) {
    register_files(kind, "", "/dev/null");
    register_text_peers(kind.name, kind.row, kind.is_general);
  }
}

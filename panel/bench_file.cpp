#include "panel/bench_file.h"

#include <ostream>
#include <utility>

#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_source.h"
#include "virtual_instrument/demonstration/demonstration.h"

namespace panel {
std::filesystem::path path_of(const std::string& utf8) {
  return std::u8string(utf8.begin(), utf8.end());
}

std::optional<virtual_instrument::Bench> open_bench(const std::string& bench_file,
                                                    std::ostream& words) {
  if (bench_file.empty()) {
    return virtual_instrument::built_in_bench();
  }
  virtual_instrument::BenchReading reading =
      virtual_instrument::read_bench_file(path_of(bench_file));
  for (const std::string& problem : reading.problems) {
    words << problem << '\n';
  }
  return reading.problems.empty() ? std::optional(std::move(reading.bench)) : std::nullopt;
}

std::unique_ptr<virtual_instrument::SqliteStore> open_store(
    const virtual_instrument::StoreSettings& settings) {
  auto store = std::make_unique<virtual_instrument::SqliteStore>(
      virtual_instrument::StoreOptions{.path = path_of(settings.file)});
  if (settings.demonstration) {
    fill_with_demonstration(*store);
  }
  return store;
}

}  // namespace panel

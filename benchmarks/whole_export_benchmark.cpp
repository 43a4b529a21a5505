// A whole export of a store that the scripted client library keeps: half of the records have
// three-phase results, the others a single-phase one. An item is one record. The time includes the
// library's work: it makes each record anew.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <vector>

#include "benchmarks.h"
#include "console/session.h"
#include "records/record_export.h"
#include "support/scripted_client_api.h"

namespace {

namespace fs = std::filesystem;

std::vector<kvr_TestLabel> labels_of_store(std::size_t count) {
  std::vector<kvr_TestLabel> labels(count);
  for (std::size_t i = 0; i < count; ++i) {
    std::snprintf(labels[i].record_id, sizeof labels[i].record_id, "T%06d", static_cast<int>(i));
  }
  return labels;
}

void export_store(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const fs::path folder = fs::temp_directory_path() / "kvr-benchmark-results";
  fs::create_directories(folder);
  results_folder = folder.string() + "/";
  std::cout.setstate(std::ios::failbit);  // drops all output
  ScriptedClientApi& api = scripted_api();
  for (auto _ : state) {
    state.PauseTiming();
    api.reset();
    api.keeps_log = false;
    api.answer(ApiCall::ListRecords, {.labels = labels_of_store(count)});
    std::size_t reads = 0;
    api.answer_always(ApiCall::ReadRecord, {.record = [&reads] {
                        return reads++ % 2 == 0 ? ratio_3ph_record("T") : ratio_1ph_record("T");
                      }});
    state.ResumeTiming();
    export_records();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  api.reset();
  std::cout.clear();
  fs::remove_all(folder);
}

}  // namespace

void register_whole_export() {
  benchmark::RegisterBenchmark("export_store/growth", export_store)
      ->RangeMultiplier(10)
      ->Range(1'000, 100'000);
}

// Result records to text, as in a flow: into a new stream for each record.

#include <benchmark/benchmark.h>

#include <memory>
#include <sstream>
#include <string>

#include "benchmarks.h"
#include "peers.h"
#include "sample_records.h"
#include "text/text_output.h"

namespace {

void render(benchmark::State& state, const kvr_TestRecord& record) {
  for (auto _ : state) {
    std::ostringstream out;
    KVR_Text_Output::ResultsToText(&record, out);
    benchmark::DoNotOptimize(out);
  }
  state.SetItemsProcessed(state.iterations());
}

void render_into_reused_stream(benchmark::State& state, const kvr_TestRecord& record) {
  std::ostringstream out;
  for (auto _ : state) {
    out.seekp(0);
    KVR_Text_Output::ResultsToText(&record, out);
    benchmark::DoNotOptimize(out);
  }
  state.SetItemsProcessed(state.iterations());
}

void register_record(const std::string& name, OwnedRecord owned_record) {
  const auto owned = std::make_shared<OwnedRecord>(std::move(owned_record));
  benchmark::RegisterBenchmark((name + "/program").c_str(),
                               [owned](auto& state) { render(state, *owned->get()); });
  benchmark::RegisterBenchmark((name + "/program_reused").c_str(), [owned](auto& state) {
    render_into_reused_stream(state, *owned->get());
  });
  register_text_peers(name, KVR_Text_Output::ResultsToString(owned->get()), false);
}

}  // namespace

void register_result_text() {
  register_record("text_ratio_nested", golden_record("ratio-auto-nested"));
  register_record("text_ratio_single_phase", golden_record("ratio-single-phase"));
  register_record("text_impedance_sweep", impedance_sweep());
  register_record("text_demag", golden_record("demag"));
}

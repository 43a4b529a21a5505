// Whole processes: the console tester until its first question, and until its main menu with the
// instrument connected and the record store of the virtual instrument open. The floor is a C++
// program that prints one line and ends.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "benchmarks.h"
#include "child_process.h"

namespace {

const Dialogue kFirstPrompt = {"", "0. Cancel\n", "0\n"};
const Dialogue kMainMenu = {"1\n", "0. Exit\n", "0\n"};

/// The least time of many runs: the time of a process when nothing else uses the processor.
ProcessCost least_cost(const std::string& program, const Dialogue& dialogue) {
  constexpr int kRuns = 40;
  ProcessCost least = run_process({program}, dialogue);
  for (int run = 1; run < kRuns; ++run) {
    const ProcessCost cost = run_process({program}, dialogue);
    least.seconds_to_text = std::min(least.seconds_to_text, cost.seconds_to_text);
    least.seconds = std::min(least.seconds, cost.seconds);
    least.peak_kib = std::max(least.peak_kib, cost.peak_kib);
  }
  if (!dialogue.text.empty() && least.seconds_to_text == 0) {
    throw std::runtime_error(program + " never wrote " + dialogue.text);
  }
  return least;
}

void run_console_tester(benchmark::State& state, const Dialogue& dialogue) {
  for (auto _ : state) {
    const ProcessCost cost = least_cost(KVR_CONSOLE_TESTER, dialogue);
    state.SetIterationTime(cost.seconds_to_text);
    state.counters["peak_kib"] = static_cast<double>(cost.peak_kib);
  }
  state.SetItemsProcessed(state.iterations());
}

void run_empty_program(benchmark::State& state) {
  for (auto _ : state) {
    state.SetIterationTime(least_cost(KVR_EMPTY_PROGRAM, {}).seconds);
  }
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

void register_processes() {
  benchmark::RegisterBenchmark("start_to_first_prompt/program", run_console_tester, kFirstPrompt)
      ->UseManualTime();
  benchmark::RegisterBenchmark("start_to_first_prompt/floor", run_empty_program)->UseManualTime();
  benchmark::RegisterBenchmark("start_to_main_menu/program", run_console_tester, kMainMenu)
      ->UseManualTime();
  benchmark::RegisterBenchmark("start_to_main_menu/floor", run_empty_program)->UseManualTime();
}

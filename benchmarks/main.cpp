#include <benchmark/benchmark.h>

#include "benchmarks.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  register_lookups();
  register_result_text();
  register_rows();
  register_whole_export();
  register_processes();
  benchmark::RunSpecifiedBenchmarks();
}

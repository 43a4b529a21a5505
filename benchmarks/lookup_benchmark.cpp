// Names of codes and terminal labels. An item is one name, one lookup, or the tables of all four
// standards.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "api/codes.h"
#include "benchmarks.h"
#include "child_process.h"
#include "standards/standards.h"

namespace {

struct NamedCode {
  std::uint32_t number;
  std::string_view name;
};

constexpr NamedCode kNamedCodes[] = {
#define KVR_NAMED_CODE(number, name) {(number), #name},
    KVR_CODE_LIST(KVR_NAMED_CODE)
#undef KVR_NAMED_CODE
};

/// In memory that the compiler can't evaluate beforehand.
std::vector<std::uint32_t> named_codes() {
  std::vector<std::uint32_t> numbers;
  for (const NamedCode& code : kNamedCodes) {
    numbers.push_back(code.number);
  }
  return numbers;
}

void name_codes(benchmark::State& state) {
  const std::vector<std::uint32_t> numbers = named_codes();
  for (auto _ : state) {
    for (const std::uint32_t number : numbers) {
      const std::string_view name = CodeToText(static_cast<kvr_code>(number));
      benchmark::DoNotOptimize(name);
    }
  }
  state.SetItemsProcessed(state.iterations() * std::ssize(numbers));
}

/// A plain array of names by number, read without a check.
void read_array(benchmark::State& state) {
  const std::vector<std::uint32_t> numbers = named_codes();
  std::array<std::string_view, 1009> names;
  for (const NamedCode& code : kNamedCodes) {
    names[code.number] = code.name;
  }
  for (auto _ : state) {
    for (const std::uint32_t number : numbers) {
      const std::string_view name = names[number];
      benchmark::DoNotOptimize(name);
    }
  }
  state.SetItemsProcessed(state.iterations() * std::ssize(numbers));
}

void name_unnamed_code(benchmark::State& state) {
  std::int32_t number = 1009;
  for (auto _ : state) {
    benchmark::DoNotOptimize(CodeToText(static_cast<kvr_code>(number++)));
  }
  state.SetItemsProcessed(state.iterations());
}

void write_unnamed_code(benchmark::State& state) {
  constexpr std::string_view kText = "Unknown error code ";
  std::array<char, 64> buffer;
  std::int32_t number = 1009;
  for (auto _ : state) {
    kText.copy(buffer.data(), kText.size());
    benchmark::DoNotOptimize(
        std::to_chars(buffer.data() + kText.size(), buffer.data() + buffer.size(), number++));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

constexpr kvr_VectorGroup kExact = {KVR_WINDING_D, KVR_WINDING_YN, 11, 0};
constexpr kvr_VectorGroup kWithSuffix = {KVR_WINDING_D, KVR_WINDING_YN, 11, 0.1F};

void look_labels_up(benchmark::State& state, const kvr_VectorGroup& group) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(&Standards::getVectorLabels(KVR_STANDARD_AB, group));
  }
  state.SetItemsProcessed(state.iterations());
}

/// Builds the name as well, but compares names with case.
void look_up_in_plain_map(benchmark::State& state, const kvr_VectorGroup& group) {
  std::map<std::string, const VectorLabels*> rows;
  for (const auto& [name, labels] : Standards::getStandard(KVR_STANDARD_AB).groups) {
    rows.emplace(name, &labels);
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(rows.find(VectorGroupText(group)));
  }
  state.SetItemsProcessed(state.iterations());
}

constexpr kvr_StandardType kStandards[] = {KVR_STANDARD_H1H2, KVR_STANDARD_1U1V, KVR_STANDARD_A2B2,
                                           KVR_STANDARD_AB};

void request_tables() {
  for (const kvr_StandardType standard : kStandards) {
    benchmark::DoNotOptimize(&Standards::getStandard(standard));
  }
}

void copy_tables() {
  for (const kvr_StandardType standard : kStandards) {
    StandardTable copy = Standards::getStandard(standard);
    benchmark::DoNotOptimize(copy);
  }
}

double least_seconds_in_child(void (*before)(), void (*timed)()) {
  double least = seconds_in_child(before, timed);
  for (int run = 1; run < 50; ++run) {
    least = std::min(least, seconds_in_child(before, timed));
  }
  return least;
}

void register_measured(const char* name, double seconds) {
  benchmark::RegisterBenchmark(name,
                               [seconds](benchmark::State& state) {
                                 for (auto _ : state) {
                                   state.SetIterationTime(seconds);
                                 }
                                 state.SetItemsProcessed(state.iterations());
                               })
      ->UseManualTime()
      ->Iterations(1);
}

}  // namespace

void register_lookups() {
  benchmark::RegisterBenchmark("code_named/program", name_codes);
  benchmark::RegisterBenchmark("code_named/floor", read_array);
  benchmark::RegisterBenchmark("code_unnamed/program", name_unnamed_code);
  benchmark::RegisterBenchmark("code_unnamed/floor", write_unnamed_code);

  // A table is built at its first request, so each measurement takes a new process and ends before
  // the first lookup. The floor copies the ready tables.
  register_measured("label_tables/program", least_seconds_in_child([] {}, request_tables));
  register_measured("label_tables/floor", least_seconds_in_child(request_tables, copy_tables));

  benchmark::RegisterBenchmark("labels_exact/program", look_labels_up, kExact);
  benchmark::RegisterBenchmark("labels_exact/floor", look_up_in_plain_map, kExact);
  benchmark::RegisterBenchmark("labels_closest/program", look_labels_up, kWithSuffix);
  benchmark::RegisterBenchmark("labels_closest/floor", look_up_in_plain_map, kWithSuffix);
}

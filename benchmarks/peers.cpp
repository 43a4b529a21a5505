#include "peers.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace {

using Writer = char* (PrintedText::*)(char*) const;

constexpr struct {
  const char* name;
  Writer writer;
} kBufferWriters[] = {{"floor", &PrintedText::write_by_to_chars},
                      {"snprintf", &PrintedText::write_by_snprintf},
                      {"fmt", &PrintedText::write_by_fmt}};

void require_equal(std::string_view written, std::string_view text, const std::string& who) {
  if (written != text) {
    throw std::logic_error(who + " writes other bytes: " + std::string(written));
  }
}

void write_to_buffer(benchmark::State& state, const PrintedText& printed, Writer writer) {
  std::string buffer(printed.size() + PrintedText::kSpareRoom, '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize((printed.*writer)(buffer.data()));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

void write_to_fresh_stream(benchmark::State& state, const PrintedText& printed) {
  for (auto _ : state) {
    std::ostringstream out;
    printed.write_by_stream(out);
    benchmark::DoNotOptimize(out);
  }
  state.SetItemsProcessed(state.iterations());
}

void write_to_reused_stream(benchmark::State& state, const PrintedText& printed) {
  std::ostringstream out;
  for (auto _ : state) {
    out.seekp(0);
    printed.write_by_stream(out);
    benchmark::DoNotOptimize(out);
  }
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

void register_text_peers(const std::string& name_of_case, const std::string& text,
                         bool may_be_general) {
  const auto printed = std::make_shared<PrintedText>(text, may_be_general);
  for (const auto& [name, writer] : kBufferWriters) {
    const std::string full_name = name_of_case + "/" + name;
    std::string buffer(printed->size() + PrintedText::kSpareRoom, '\0');
    const char* const end = ((*printed).*writer)(buffer.data());
    require_equal({buffer.data(), end}, text, full_name);
    benchmark::RegisterBenchmark(full_name.c_str(), [printed, writer = writer](auto& state) {
      write_to_buffer(state, *printed, writer);
    });
  }
  std::ostringstream out;
  printed->write_by_stream(out);
  require_equal(out.str(), text, name_of_case + "/stream");
  benchmark::RegisterBenchmark((name_of_case + "/fresh_stream").c_str(),
                               [printed](auto& state) { write_to_fresh_stream(state, *printed); });
  benchmark::RegisterBenchmark((name_of_case + "/reused_stream").c_str(),
                               [printed](auto& state) { write_to_reused_stream(state, *printed); });
}

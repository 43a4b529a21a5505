#include "virtual_instrument/bench/bench_source.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <utility>

#include "virtual_instrument/bench/bench_reader.h"

namespace virtual_instrument {

BenchSource::BenchSource(std::filesystem::path file, Report report)
    : file_(std::move(file)),
      report_(std::move(report)),
      bench_(std::make_shared<const Bench>(built_in_bench())) {}

std::shared_ptr<const Bench> BenchSource::current() {
  const std::lock_guard lock(mutex_);
  if (!can_change()) {
    return bench_;
  }
  // The text itself is compared: file times are too coarse on some file systems.
  std::ifstream stream(file_, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  if (!stream.is_open()) {
    if (!std::exchange(unreadable_, true)) {
      report_(file_.string() + ": can't be read; expected a bench file");
    }
    return bench_;
  }
  unreadable_ = false;
  if (!text.str().empty() && text.str() != text_) {
    take(text.str());
  }
  return bench_;
}

std::shared_ptr<const Bench> BenchSource::look(const std::function<void(const Bench&)>& look) {
  const std::lock_guard lock(looking_);
  std::shared_ptr<const Bench> bench = current();
  look(*bench);
  return bench;
}

void BenchSource::take(const std::string& text) {
  text_ = text;
  BenchReading reading = read_bench(text, file_.string(), built_in_bench());
  for (const std::string& problem : reading.problems) {
    report_(problem);
  }
  if (reading.problems.empty()) {
    bench_ = std::make_shared<const Bench>(std::move(reading.bench));
  } else {
    report_(file_.string() + ": not taken; the last good bench stays in force");
  }
}

void BenchSource::write_to_standard_error(const std::string& problem) {
  std::cerr << problem + "\n" << std::flush;
}

}  // namespace virtual_instrument

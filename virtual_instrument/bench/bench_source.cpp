#include "virtual_instrument/bench/bench_source.h"

#include <iostream>
#include <utility>

namespace virtual_instrument {
namespace {

constexpr std::size_t kLargestFile = 1 << 20;

const char* reason(FileState state) {
  switch (state) {
    case FileState::kRead:
      break;
    case FileState::kUnreadable:
      return "can't be read";
    case FileState::kFolder:
      return "is a folder";
    case FileState::kNotOrdinary:
      return "is no ordinary file";
    case FileState::kTooLarge:
      return "is larger than 1 MiB";
  }
  return "";
}

/// Why a file can't be read.
std::string trouble_with(const std::filesystem::path& file, FileState state) {
  return file.string() + ": " + reason(state) + "; expected a bench file";
}

}  // namespace

BenchReading read_bench_file(const std::filesystem::path& file) {
  const FileReading reading = read_ordinary_file(file, kLargestFile);
  if (reading.state != FileState::kRead) {
    return {built_in_bench(), {trouble_with(file, reading.state)}, {}};
  }
  return read_bench(reading.text, file.string(), built_in_bench());
}

BenchSource::BenchSource(std::filesystem::path file, Report report)
    : file_(std::move(file)),
      report_(std::move(report)),
      bench_(std::make_shared<const Bench>(built_in_bench())) {}

std::shared_ptr<const Bench> BenchSource::current() {
  const std::lock_guard lock(mutex_);
  if (!can_change()) {
    return bench_;
  }
  const FileReading file = read_ordinary_file(file_, kLargestFile);
  const FileState before = std::exchange(state_, file.state);
  if (state_ != FileState::kRead && state_ != before) {
    report_(trouble_with(file_, state_));
  }
  // Compares the text itself, since file times are too coarse on some file systems.
  if (!file.text.empty() && file.text != text_) {
    take(file.text);
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

#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/platform/ordinary_file.h"

namespace virtual_instrument {

/// How often threads that wait for a change of the bench look at it.
inline constexpr std::chrono::milliseconds kBenchPeriod{100};

/// Reads a file over the built-in bench, once. That the file is missing, is no ordinary one or is
/// larger than 1 MiB is a problem too.
BenchReading read_bench_file(const std::filesystem::path& file);

/// Holds the bench in force. With a file, each query reads the file again, so that a person can
/// change the bench while the program runs. A file that can't be read, is no ordinary one, is
/// larger than 1 MiB or has a mistake is reported once, and the last good bench stays in force; at
/// first that is the built-in one. An empty file, as one that is being written, changes nothing.
///
/// Safe on any thread.
class BenchSource {
 public:
  /// Receives problems, each one line without a line end.
  using Report = std::function<void(const std::string& problem)>;

  /// With an empty path there is no file, and the built-in bench stays in force for ever.
  explicit BenchSource(std::filesystem::path file, Report report = write_to_standard_error);

  std::shared_ptr<const Bench> current();

  /// Calls `look` with the bench in force and returns that bench. One look at a time, in the order
  /// in which the file was read, so that no look comes late with an old bench.
  std::shared_ptr<const Bench> look(const std::function<void(const Bench&)>& look);

  /// Whether current() can ever return another bench.
  bool can_change() const { return !file_.empty(); }

  static void write_to_standard_error(const std::string& problem);

 private:
  void take(const std::string& text);

  const std::filesystem::path file_;
  const Report report_;
  std::mutex looking_;  ///< held around mutex_ and whatever a look locks
  std::mutex mutex_;
  std::shared_ptr<const Bench> bench_;
  std::string text_;
  FileState state_ = FileState::kRead;  ///< at the last look
};

}  // namespace virtual_instrument

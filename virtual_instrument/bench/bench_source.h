#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/platform/ordinary_file.h"

namespace virtual_instrument {

/// Gives the bench in force. With a file it looks at the file again each time it is asked, so that
/// editing the file turns knobs while the program runs. A file that can't be read, is no ordinary
/// one, is larger than 1 MiB or holds a mistake is reported once, and the last good bench stays in
/// force; at first that is the built-in one. An empty file is one that is being written, and
/// changes nothing.
///
/// Safe on any thread.
class BenchSource {
 public:
  /// Takes problems, one line without line end each.
  using Report = std::function<void(const std::string& problem)>;

  /// Without a file, an empty path, the built-in bench holds for ever.
  explicit BenchSource(std::filesystem::path file, Report report = write_to_standard_error);

  std::shared_ptr<const Bench> current();

  /// Hands the bench in force to `look` and gives it back. One look at a time, in the order in
  /// which the file was read, so that none comes late with what holds no longer.
  std::shared_ptr<const Bench> look(const std::function<void(const Bench&)>& look);

  /// Whether current() can come to give something else.
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

#pragma once

#include <cstddef>

// The calls of the operating system by which file streams reach the disk, counted and failing on
// demand. A flush is a write for them: a stream of the standard library asks the system for nothing
// else until it closes its file.

namespace failing_files {

enum class Call {
  kOpen,
  kWrite,
  kShortWrite,  ///< a write that takes half of its bytes before the disk is full
  kClose,       ///< the file is closed, and told to have lost something
};

/// How often a call has been made since counting was started.
std::size_t count(Call call);
void start_counting();

/// The n-th such call from here on fails, and with `for_ever` all behind it, for as long as this
/// lives. One at a time, in one thread.
class Failing {
 public:
  Failing(Call call, std::size_t nth, bool for_ever);
  ~Failing();
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;

  bool has_failed() const;
};

}  // namespace failing_files

#pragma once

#include <cstddef>

// The system calls of file streams, counted and failing on demand. A flush shows as a write: a
// standard stream makes no other call until it closes its file.

namespace failing_files {

enum class Call {
  kOpen,
  kWrite,
  kShortWrite,  ///< half of the bytes are written, then the disk is full
  kClose,       ///< the file is closed, but close reports an error
};

/// How often a call has been made since counting was started.
std::size_t count(Call call);
void start_counting();

/// While this object lives, the n-th such call from its construction fails, and with `for_ever` all
/// later ones. One at a time, in one thread.
class Failing {
 public:
  Failing(Call call, std::size_t nth, bool for_ever);
  ~Failing();
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;

  bool has_failed() const;
};

}  // namespace failing_files

#pragma once

#include <cstddef>
#include <vector>

// An operator new that counts, and fails when told to. A test program that links the target
// counted_new has it. Its blocks come from the standard malloc, where sanitizers see them. It ends
// the program when a block of new goes to delete[] or the other way round.

namespace counted_new {

/// Number of blocks allocated now.
std::size_t live_blocks();
/// Their total size, as requested.
std::size_t live_bytes();
/// Number of all allocations so far.
std::size_t allocations();
bool is_live(const void* block);

/// While this object lives, the n-th allocation of this thread from its construction throws
/// std::bad_alloc, and with kForEver all later ones. One at a time.
class Failing {
 public:
  enum Duration { kOnce, kForEver };
  explicit Failing(std::size_t nth, Duration duration = kOnce);
  ~Failing();
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;

  bool has_failed() const;
};

/// While this object lives, allocations of this thread neither fail nor are counted by Failing: for
/// a test's own work in between.
class Pause {
 public:
  Pause();
  ~Pause();
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;

 private:
  std::size_t countdown_;
};

/// Records what this thread allocates and frees, in order, while this object lives. One at a time,
/// at most kCapacity blocks each.
class Recording {
 public:
  static constexpr std::size_t kCapacity = 4096;
  Recording();
  ~Recording();
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  /// Ends the recording, so that reading it is not recorded.
  void stop();
  std::vector<std::size_t> allocated_sizes() const;
  std::vector<const void*> freed_blocks() const;
};

}  // namespace counted_new

#pragma once

#include <cstddef>
#include <vector>

// An operator new that counts, and fails when told to. A test program that links the target
// counted_new has it. Its blocks come from the standard malloc, where sanitizers see them. It ends
// the program when a block of new goes to delete[] or the other way round.

namespace counted_new {

/// Blocks that are allocated now.
std::size_t live_blocks();
/// What they add up to, as asked for.
std::size_t live_bytes();
/// Blocks that have ever been allocated.
std::size_t allocations();
bool is_live(const void* block);

/// The n-th allocation of this thread from here on throws std::bad_alloc, and with kForEver all
/// behind it, for as long as this lives. One at a time.
class Failing {
 public:
  enum Duration { kOnce, kForEver };
  explicit Failing(std::size_t nth, Duration duration = kOnce);
  ~Failing();
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;

  bool has_failed() const;
};

/// As long as this lives, allocations of this thread neither fail nor count towards the one that
/// does: for what a test does in between.
class Pause {
 public:
  Pause();
  ~Pause();
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;

 private:
  std::size_t countdown_;
};

/// What this thread allocates and frees in order, for as long as this lives. One at a time, at most
/// kCapacity blocks each.
class Recording {
 public:
  static constexpr std::size_t kCapacity = 4096;
  Recording();
  ~Recording();
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  /// Ends it, so that reading it isn't part of it.
  void stop();
  std::vector<std::size_t> allocated_sizes() const;
  std::vector<const void*> freed_blocks() const;
};

}  // namespace counted_new

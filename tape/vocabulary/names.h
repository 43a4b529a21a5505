#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>

// Names of the records or lists that a client holds: numbers in the order in which they were handed
// out. The recorder names what the real library hands out, the player its own copies, by the same
// rules, so that the same client gives the same names.
namespace tape {

class Names {
 public:
  /// The name of what was handed out, a new one unless it has one.
  std::int64_t name_of(const void* pointer) {
    const std::lock_guard lock(mutex_);
    const auto [found, is_new] = names_.try_emplace(pointer, next_);
    next_ += is_new ? 1 : 0;
    return found->second;
  }

  /// A new name, also for an address that has one.
  std::int64_t rename(const void* pointer) {
    const std::lock_guard lock(mutex_);
    names_[pointer] = next_;
    return next_++;
  }

  /// For the player: the name is given by the tape.
  void set(const void* pointer, std::int64_t name) {
    const std::lock_guard lock(mutex_);
    names_[pointer] = name;
  }

  /// The name of what is freed, which it has no longer: 0 for an unknown pointer, -1 for null.
  std::int64_t release(const void* pointer) {
    if (pointer == nullptr) {
      return -1;
    }
    const std::lock_guard lock(mutex_);
    const auto found = names_.find(pointer);
    if (found == names_.end()) {
      return 0;
    }
    const std::int64_t name = found->second;
    names_.erase(found);
    return name;
  }

 private:
  std::mutex mutex_;
  std::unordered_map<const void*, std::int64_t> names_;
  std::int64_t next_ = 1;
};

}  // namespace tape

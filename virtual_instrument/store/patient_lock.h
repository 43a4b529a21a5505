#pragma once

#include <chrono>
#include <mutex>
#include <thread>

namespace virtual_instrument {

/// Locks `mutex` if it becomes free within `patience`; the result shows whether it did. A
/// std::timed_mutex would do the same, but no condition variable takes one.
inline std::unique_lock<std::mutex> lock_within(std::mutex& mutex,
                                                std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  std::unique_lock lock(mutex, std::try_to_lock);
  while (!lock && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    static_cast<void>(lock.try_lock());  // the lock itself knows
  }
  return lock;
}

}  // namespace virtual_instrument

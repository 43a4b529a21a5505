#pragma once

#include <atomic>
#include <thread>

// Lets threads of a test go on at the same time.

/// Each thread waits until all have come. Not std::latch: that of MinGW-w64 may miss the last
/// arrival.
class MeetingPoint {
 public:
  explicit MeetingPoint(int threads) : missing_(threads) {}

  void arrive_and_wait() {
    --missing_;
    while (missing_ > 0) {
      std::this_thread::yield();
    }
  }

 private:
  std::atomic<int> missing_;
};

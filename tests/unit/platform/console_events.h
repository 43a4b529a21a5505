#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

// For tests of signals and keys, each in a process of its own, which reports on standard error.

class ConsoleEvents : public testing::Test {
 protected:
  ConsoleEvents() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

inline const pthread_t main_thread = pthread_self();

inline void wait_a_moment() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

inline int tell_event_and_leave(unsigned long event) {
  const bool on_main_thread = pthread_equal(pthread_self(), main_thread) != 0;
  std::cerr << "event " << event << (on_main_thread ? " on the main thread" : "");
  std::_Exit(0);
}

inline void tell_end_and_leave(unsigned long event) {
  std::cerr << "end after event " << event;
  std::_Exit(0);
}

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <future>
#include <thread>

#include "unit/virtual_instrument/session/client.h"

namespace virtual_instrument {
namespace {

constexpr int kStatus = 3;

/// Ends a child process while the library is busy on other threads. It must neither crash nor wait
/// for a test that takes an hour.
class ProcessExit : public ClientTest {
 protected:
  ProcessExit() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  /// Runs a long test that calls `reaction` once, from its progress callback.
  void run_long_test(std::function<void()> reaction) {
    reaction_ = std::move(reaction);
    start("[measurement]\nduration = 3600\nsteps = 1000000\n");
    kvr_ProgressHandler handler{[](void* context, const kvr_Progress* progress) {
                                  if (progress->current == 1) {
                                    static_cast<ProcessExit*>(context)->reaction_();
                                  }
                                },
                                this};
    test("T1", KVR_SAVE_NEW_RECORD, &handler);
  }

  std::function<void()> reaction_;
};

[[noreturn]] void leave() { std::exit(kStatus); }

TEST_F(ProcessExit, FromTheProgressCallback) {
  EXPECT_EXIT(run_long_test(leave), testing::ExitedWithCode(kStatus), "");
}

TEST_F(ProcessExit, FromTheProgressCallbackAfterShutdown) {
  EXPECT_EXIT(run_long_test([] {
                kvr_Lib_Shutdown();
                leave();
              }),
              testing::ExitedWithCode(kStatus), "");
}

TEST_F(ProcessExit, FromAnotherThreadWhileATestRuns) {
  const auto exit_elsewhere = [this] {
    std::promise<void> running;
    std::thread other([&] {
      running.get_future().wait();
      leave();
    });
    run_long_test([&] { running.set_value(); });
    other.join();
  };
  EXPECT_EXIT(exit_elsewhere(), testing::ExitedWithCode(kStatus), "");
}

TEST_F(ProcessExit, FromTheStatusCallbackWhileATestRuns) {
  const auto lose_connection = [this] {
    status_.reaction = [](kvr_code) {
      kvr_Lib_Shutdown();
      leave();
    };
    run_long_test([this] { set_bench("[connection]\nlost = true\n"); });
    std::promise<void>().get_future().wait();  // until the other thread ends the process
  };
  EXPECT_EXIT(lose_connection(), testing::ExitedWithCode(kStatus), "");
}

TEST_F(ProcessExit, WithoutShutdown) {
  const auto just_leave = [this] {
    start();
    leave();
  };
  EXPECT_EXIT(just_leave(), testing::ExitedWithCode(kStatus), "");
}

}  // namespace
}  // namespace virtual_instrument

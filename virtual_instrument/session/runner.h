#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "api/client_api.h"
#include "virtual_instrument/bench/bench_source.h"
#include "virtual_instrument/recording/record.h"
#include "virtual_instrument/recording/record_keeper.h"
#include "virtual_instrument/store/sqlite_store.h"

// Runs a test: measures, lets its duration pass, reports its progress, ends it early for a reason,
// and keeps its result.

namespace virtual_instrument {

struct MeasuredTest {
  kvr_code code;
  RecordedTest test;
  std::array<double, 3> residual_flux;  ///< Vs, left in the limbs
};

/// A test that a client asked for: what all kinds of test have, then what each does in its own way.
struct TestJob {
  const kvr_TestRequestHeader& header;
  const kvr_ProgressHandler* progress;
  TestKind kind;
  const kvr_TestSetup& setup;
  std::function<kvr_code(const Bench&)> check;
  std::function<MeasuredTest(const TransformerUnit&, const Bench&, std::uint64_t seed)> measure;
};

/// One test at a time: begin(), then run(). Safe on any thread, those of the callbacks included: no
/// lock is held while `at_step` or a callback runs.
class TestRunner {
 public:
  /// `at_step` is called before each report of progress, and may call stop().
  TestRunner(std::shared_ptr<BenchSource> benches, std::shared_ptr<SqliteStore> store,
             std::function<void(std::int32_t step)> at_step);

  /// True from begin() to the end of run().
  bool is_testing();

  /// REQUIRES: no test runs.
  void begin(const MeasurementSettings& settings);

  /// Runs the test that has begun, and returns when it has ended. Sets `record` if the result is
  /// accepted. `bench` is the one with which the test began.
  kvr_code run(const TestJob& job, const Bench& bench, kvr_TestRecord** record);

  /// Ends the running test with `code`, unless it has a reason to stop already. False if no test
  /// runs, or if its time is over and it can't be stopped any more.
  bool stop(kvr_code code);

  /// Waits until no test runs, but returns at once on the thread of the running test.
  void wait_for_end();

 private:
  void end();
  kvr_code carry_out(const TestJob& job, kvr_TestRecord** record);
  const std::array<double, 3>& residual_flux(const Bench& bench);
  MeasuredTest measure(const TestJob& job, const Bench& bench);
  kvr_code pass_time(const TestJob& job, const MeasurementSettings& settings);

  const std::shared_ptr<BenchSource> benches_;
  const std::shared_ptr<SqliteStore> store_;
  const std::function<void(std::int32_t step)> at_step_;

  std::mutex mutex_;
  std::condition_variable changed_;  ///< notified when a test stops or ends
  bool testing_ = false;
  bool stoppable_ = false;
  kvr_code stop_code_ = KVR_RES_OK;  ///< why the running test must end; 0: no reason yet
  std::thread::id test_thread_;
  std::uint64_t test_number_ = 0;

  // Only the running test uses these.
  std::uint64_t seed_ = 0;
  std::optional<std::array<double, 3>> bench_flux_;  ///< the bench's last value
  std::array<double, 3> residual_flux_{};            ///< per unit, as the tests left it
};

}  // namespace virtual_instrument

#include "virtual_instrument/session/runner.h"

#include <chrono>
#include <cstddef>
#include <exception>
#include <utility>

#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/bench/instrument_time.h"
#include "virtual_instrument/session/steady_seconds.h"
#include "virtual_instrument/vocabulary/code_names.h"

namespace virtual_instrument {

TestRunner::TestRunner(std::shared_ptr<BenchSource> benches, std::shared_ptr<SqliteStore> store,
                       std::function<void(std::int32_t step)> at_step)
    : benches_(std::move(benches)), store_(std::move(store)), at_step_(std::move(at_step)) {}

bool TestRunner::is_testing() {
  const std::lock_guard lock(mutex_);
  return testing_;
}

void TestRunner::begin(const MeasurementSettings& settings) {
  const std::lock_guard lock(mutex_);
  testing_ = true;
  stoppable_ = true;
  stop_code_ = KVR_RES_OK;
  // Each test of a session has noise of its own, the same in every session.
  seed_ = (static_cast<std::uint64_t>(settings.seed) << 32) + test_number_++;
}

void TestRunner::end() {
  const std::lock_guard lock(mutex_);
  testing_ = false;
  test_thread_ = {};
  changed_.notify_all();
}

bool TestRunner::stop(kvr_code code) {
  const std::lock_guard lock(mutex_);
  if (!testing_ || !stoppable_) {
    return false;
  }
  if (stop_code_ == KVR_RES_OK) {
    stop_code_ = code;
    changed_.notify_all();
  }
  return true;
}

void TestRunner::wait_for_end() {
  std::unique_lock lock(mutex_);
  if (test_thread_ != std::this_thread::get_id()) {
    changed_.wait(lock, [this] { return !testing_; });
  }
}

kvr_code TestRunner::run(const TestJob& job, const Bench& bench, kvr_TestRecord** record) {
  struct Ending {
    TestRunner& runner;
    ~Ending() { runner.end(); }
  } const ending{*this};
  if (const kvr_code fault = job.check(bench); fault != KVR_RES_OK) {
    return fault;
  }
  if (const kvr_code fault = check_saving(job.header, job.kind, *store_, bench);
      fault != KVR_RES_OK) {
    return fault;
  }
  kvr_code code = KVR_RES_INTERNAL_ERROR;  // the result after an exception
  // A library may report progress on any thread. This one never uses the caller's, so that a client
  // that relies on it fails here.
  std::thread([&] {
    try {
      code = carry_out(job, record);
    } catch (const std::exception&) {
      code = KVR_RES_INTERNAL_ERROR;
    }
  }).join();
  return code;
}

kvr_code TestRunner::carry_out(const TestJob& job, kvr_TestRecord** record) {
  {
    const std::lock_guard lock(mutex_);
    test_thread_ = std::this_thread::get_id();
  }
  std::shared_ptr<const Bench> bench = benches_->current();
  const std::array<double, 3> flux_before = residual_flux(*bench);
  MeasuredTest measured = measure(job, *bench);
  if (!is_accepted_code(measured.code)) {
    return measured.code;
  }
  if (const kvr_code stopped = pass_time(job, bench->measurement); stopped != KVR_RES_OK) {
    return stopped;
  }
  // For example a lead that was opened meanwhile affects the result.
  if (std::shared_ptr<const Bench> changed = benches_->current(); changed != bench) {
    bench = std::move(changed);
    if (const kvr_code fault = job.check(*bench); fault != KVR_RES_OK) {
      return fault;
    }
    residual_flux_ = flux_before;
    measured = measure(job, *bench);
    if (!is_accepted_code(measured.code)) {
      return measured.code;
    }
  }
  RecordNest result;
  if (const kvr_code fault = keep_test(job.header, job.kind.type, job.setup, measured.test,
                                       time_on(bench->instrument), *store_, *bench, result);
      fault != KVR_RES_OK) {
    return fault;
  }
  *record = result.release();
  return measured.code;
}

/// The transformer keeps the residual flux that tests leave, until the bench sets another one.
const std::array<double, 3>& TestRunner::residual_flux(const Bench& bench) {
  if (bench_flux_ != bench.transformer.residual_flux) {
    bench_flux_ = bench.transformer.residual_flux;
    residual_flux_ = *bench_flux_;
  }
  return residual_flux_;
}

MeasuredTest TestRunner::measure(const TestJob& job, const Bench& bench) {
  TransformerUnit unit = make_unit(bench, pair_of(job.setup));
  const std::array<double, 3>& flux = residual_flux(bench);
  const double whole = rated_core_flux(unit);
  for (std::size_t limb = 0; limb < static_cast<std::size_t>(unit.core.limbs); ++limb) {
    unit.core.residual_flux[limb] = flux[limb] * whole;
  }
  MeasuredTest measured = job.measure(unit, bench, seed_);
  for (std::size_t limb = 0; limb < residual_flux_.size(); ++limb) {
    residual_flux_[limb] = measured.residual_flux[limb] / whole;
  }
  return measured;
}

/// Waits for the duration of the test and reports its progress. KVR_RES_OK at its end, after which
/// it can't be stopped any more; else the reason to stop.
kvr_code TestRunner::pass_time(const TestJob& job, const MeasurementSettings& settings) {
  const auto begin = std::chrono::steady_clock::now();
  const auto is_stopped = [this] { return stop_code_ != KVR_RES_OK; };
  for (std::int32_t step = 1; step <= settings.steps; ++step) {
    {
      std::unique_lock lock(mutex_);
      changed_.wait_until(lock, begin + steady_seconds(settings.duration * step / settings.steps),
                          is_stopped);
    }
    at_step_(step);
    {
      const std::lock_guard lock(mutex_);
      if (is_stopped()) {
        return stop_code_;
      }
    }
    if (job.progress != nullptr && job.progress->progress_callback != nullptr) {
      const kvr_Progress progress{step, settings.steps};
      job.progress->progress_callback(job.progress->progress_context, &progress);
    }
  }
  const std::lock_guard lock(mutex_);
  stoppable_ = false;
  return stop_code_;
}

}  // namespace virtual_instrument

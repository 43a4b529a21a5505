#include "virtual_instrument/session/library.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

#include "virtual_instrument/demonstration/demonstration.h"
#include "virtual_instrument/measurement/noise.h"
#include "virtual_instrument/platform/process_end.h"
#include "virtual_instrument/store/patient_lock.h"

namespace virtual_instrument {
namespace {

std::filesystem::path bench_file_of_environment() {
  const char* file = std::getenv("KVR_BENCH_FILE");
  return file == nullptr ? "" : file;
}

/// Whether a fault may strike the `count`-th call of a name.
bool is_concerned(const Fault& fault, std::string_view call, std::int64_t count) {
  return fault.call == call && count >= fault.from &&
         (fault.times == 0 || count < std::int64_t{fault.from} + fault.times);
}

/// Whether the fault at `index` strikes by chance: a call draws the same in every session.
bool is_drawn(const Bench& bench, std::size_t index, std::int64_t count) {
  Noise draws((static_cast<std::uint64_t>(bench.measurement.seed) << 32) +
              static_cast<std::uint64_t>(count));
  double draw = draws.uniform();
  for (std::size_t before = 0; before < index; ++before) {
    draw = draws.uniform();
  }
  return draw * 100 < bench.faults[index].chance;
}

}  // namespace

Library::Library(BenchFile bench_file) : bench_file_(bench_file) {}

void Library::prepare() {
  const std::lock_guard lock(mutex_);
  prepare_locked();
}

void Library::prepare_locked() {
  if (!benches_) {
    benches_ = std::make_shared<BenchSource>(bench_file_());
  }
}

/// A store that is still open is in memory, or in a file whose session is just ending.
void Library::open_store_locked(const StoreSettings& settings) {
  if (!store_ || store_file_ != settings.file || store_->state() != KVR_RES_OK) {
    store_ = nullptr;
    const std::u8string path(settings.file.begin(), settings.file.end());
    store_ = std::make_shared<SqliteStore>(StoreOptions{.path = path});
    store_file_ = settings.file;
  }
  if (settings.demonstration) {
    fill_with_demonstration(*store_);
  }
}

void Library::close_store_locked() {
  if (store_ && !store_file_.empty()) {
    store_->close();
    store_ = nullptr;
  }
}

void Library::close_store_at_process_end() noexcept {
  constexpr std::chrono::seconds kPatience{2};
  try {
    const std::unique_lock lock = lock_within(mutex_, kPatience);
    if (lock && store_) {
      store_->close_within(kPatience);
    }
  } catch (...) {
    // For example without memory: the log stays until the next start.
  }
}

kvr_code Library::initialize(const kvr_InitParams* params) {
  const std::lock_guard lock(mutex_);
  if (session_) {
    return KVR_RES_LIB_ALREADY_INITIALIZED;
  }
  if (params == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  prepare_locked();
  open_store_locked(benches_->current()->store);
  auto session = std::make_shared<Session>(*params, benches_, store_);
  session->start();
  session_ = std::move(session);
  return KVR_RES_OK;
}

kvr_code Library::initialize_test_station(const char* port, const kvr_InitParams* params) {
  if (session()) {
    return KVR_RES_LIB_ALREADY_INITIALIZED;
  }
  if (port == nullptr || *port == '\0') {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  return initialize(params);
}

kvr_code Library::shut_down() {
  std::shared_ptr<Session> ending;
  {
    const std::lock_guard lock(mutex_);
    ending = std::exchange(session_, nullptr);
    benches_ = nullptr;
    release_held_locked();
  }
  if (!ending) {
    return KVR_RES_LIB_NOT_INITIALIZED;
  }
  ending->shut_down();
  const std::lock_guard lock(mutex_);
  if (!session_) {
    close_store_locked();
  }
  return KVR_RES_OK;
}

std::shared_ptr<Session> Library::session() {
  const std::lock_guard lock(mutex_);
  return session_;
}

Fault Library::next_fault_locked(std::string_view call) {
  if (!benches_) {
    return {};
  }
  if (std::shared_ptr<const Bench> bench = benches_->current(); bench != counted_bench_) {
    counted_bench_ = std::move(bench);
    call_counts_.clear();
  }
  const std::int64_t count = ++call_counts_[std::string(call)];
  const std::vector<Fault>& faults = counted_bench_->faults;
  for (std::size_t index = 0; index < faults.size(); ++index) {
    if (is_concerned(faults[index], call, count) && is_drawn(*counted_bench_, index, count)) {
      return faults[index];
    }
  }
  return {};
}

std::optional<Fault> Library::meet_fault(std::string_view call) {
  std::unique_lock lock(mutex_);
  Fault fault = next_fault_locked(call);
  if (!fault.hang && fault.delay == 0) {
    return fault;
  }
  const std::int64_t releases = releases_;
  const std::shared_ptr<BenchSource> benches = benches_;
  const std::shared_ptr<const Bench> bench = counted_bench_;
  const auto is_released = [&] { return releases_ != releases; };
  ++held_;
  released_.wait_for(lock, std::chrono::duration<double>(fault.delay), is_released);
  while (fault.hang && !is_released() && benches->current() == bench) {
    released_.wait_for(lock, kBenchPeriod);
  }
  --held_;
  return is_released() ? std::nullopt : std::optional(std::move(fault));
}

bool Library::release_held() {
  const std::lock_guard lock(mutex_);
  release_held_locked();
  return held_ > 0;
}

void Library::release_held_locked() {
  ++releases_;
  released_.notify_all();
}

bool Library::gives_nothing(std::string_view call) noexcept {
  try {
    const std::optional<Fault> fault = meet_fault(call);
    return fault && fault->null;
  } catch (...) {
    return false;
  }
}

Library& library() {
  static Library* const only = new Library(bench_file_of_environment);
  return *only;
}

namespace {

/// Registered when the library is loaded, so that static objects of the program can use the store
/// until they are destroyed.
[[maybe_unused]] const bool kClosesStore = [] {
  call_at_process_end([] { library().close_store_at_process_end(); });
  return true;
}();

}  // namespace

}  // namespace virtual_instrument

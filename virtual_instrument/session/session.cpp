#include "virtual_instrument/session/session.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "record_form/record_shape.h"
#include "virtual_instrument/bench/instrument_time.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"
#include "virtual_instrument/measurement/three_phase_ratio.h"
#include "virtual_instrument/recording/record_keeper.h"
#include "virtual_instrument/session/failed_phases.h"
#include "virtual_instrument/session/steady_seconds.h"
#include "virtual_instrument/vocabulary/code_names.h"
#include "virtual_instrument/vocabulary/text_field.h"

namespace virtual_instrument {
namespace {

std::uint8_t flag(bool value) { return value ? 1 : 0; }

}  // namespace

Session::Session(const kvr_InitParams& params, std::shared_ptr<BenchSource> benches,
                 std::shared_ptr<SqliteStore> store)
    : status_callback_(params.status_callback),
      status_context_(params.status_context),
      benches_(std::move(benches)),
      store_(std::move(store)),
      runner_(benches_, store_, [this](std::int32_t step) { look_at_step(step); }) {}

void Session::start() {
  watch_ = std::thread([self = shared_from_this()] { self->watch(); });
}

void Session::shut_down() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    connection_ = Connection::none;
    runner_.stop(KVR_RES_OPERATION_CANCELLED);
    changed_.notify_all();
  }
  runner_.wait_for_end();
  if (watch_.get_id() == std::this_thread::get_id()) {
    watch_.detach();
  } else {
    watch_.join();
  }
}

// The session's thread.

void Session::watch() {
  std::unique_lock lock(mutex_);
  while (!ended_) {
    if (!events_.empty()) {
      const Event event = std::move(events_.front());
      events_.pop_front();
      lock.unlock();
      status_callback_(status_context_, event.code, event.text.c_str());
      lock.lock();
      continue;
    }
    lock.unlock();
    const std::shared_ptr<const Bench> bench = look_at_bench();
    lock.lock();
    if (!events_.empty() || ended_) {
      continue;
    }
    if (const std::optional<Time> next = next_look_locked(*bench)) {
      changed_.wait_until(lock, *next);
    } else {
      changed_.wait(lock);
    }
  }
}

std::optional<Session::Time> Session::next_look_locked(const Bench& bench) const {
  std::optional<Time> next;
  if (benches_->can_change()) {
    next = std::chrono::steady_clock::now() + kBenchPeriod;
  }
  if (connection_ == Connection::up && bench.connection.lost_after > 0) {
    const Time lost_at = connected_at_ + steady_seconds(bench.connection.lost_after);
    next = std::min(next.value_or(lost_at), lost_at);
  }
  return next;
}

std::shared_ptr<const Bench> Session::look_at_bench() {
  return benches_->look([this](const Bench& bench) {
    const std::lock_guard lock(mutex_);
    look_locked(bench);
  });
}

/// Applies the bench's own events: a lost connection, pressed buttons.
void Session::look_locked(const Bench& bench) {
  if (connection_ != Connection::up) {
    return;
  }
  const double lost_after = bench.connection.lost_after;
  if (bench.connection.lost || (lost_after > 0 && std::chrono::steady_clock::now() >=
                                                      connected_at_ + steady_seconds(lost_after))) {
    lose_connection_locked(bench);
    return;
  }
  if (emergency_ != bench.status.emergency_button_pressed) {
    emergency_ = bench.status.emergency_button_pressed;
    post_locked(emergency_ ? KVR_RES_EMERGENCY_STOP_PRESSED : KVR_RES_EMERGENCY_STOP_RELEASED,
                "emergency stop");
  }
  if (interlock_ != bench.status.interlock_on) {
    interlock_ = bench.status.interlock_on;
    post_locked(interlock_ ? KVR_RES_INTERLOCK_ON : KVR_RES_INTERLOCK_OFF, "interlock");
  }
  if (emergency_) {
    runner_.stop(KVR_RES_EMERGENCY_STOP_PRESSED);
  } else if (interlock_) {
    runner_.stop(KVR_RES_INTERLOCK_ON);
  }
}

void Session::lose_connection_locked(const Bench& bench) {
  connection_ = Connection::lost;
  lost_code_ = bench.connection.lost_code;
  locked_ = false;
  runner_.stop(lost_code_);
  post_locked(lost_code_, "instrument " + bench.instrument.serial_number);
}

void Session::post_locked(kvr_code code, std::string text) {
  if (status_callback_ != nullptr) {
    events_.push_back({code, std::move(text)});
    changed_.notify_all();
  }
}

// Connection and state.

kvr_code Session::connect(const kvr_ConnectionType* type, const char* client_name,
                          char* firmware_version) {
  const std::shared_ptr<const Bench> bench = look_at_bench();
  if (type == nullptr || client_name == nullptr || firmware_version == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  const std::lock_guard lock(mutex_);
  if (ended_) {
    return KVR_RES_LIB_NOT_INITIALIZED;
  }
  if (connection_ == Connection::up) {
    return KVR_CLIENT_CONNECTED;
  }
  if (*type != KVR_CONNECTION_USB_WIFI && *type != KVR_CONNECTION_SERVICE) {
    return KVR_RES_NOT_SUPPORTED;
  }
  if (bench->connection.lost) {
    return KVR_RES_DEVICE_UNAVAILABLE;
  }
  if (!is_accepted_code(bench->connection.refused)) {
    return bench->connection.refused;
  }
  connection_ = Connection::up;
  connected_at_ = std::chrono::steady_clock::now();
  emergency_ = bench->status.emergency_button_pressed;
  interlock_ = bench->status.interlock_on;
  changed_.notify_all();
  const std::string& firmware = bench->instrument.firmware_version;
  std::memcpy(firmware_version, firmware.c_str(), firmware.size() + 1);
  return bench->connection.refused;
}

kvr_code Session::check_connection() {
  look_at_bench();
  const std::lock_guard lock(mutex_);
  return connection_fault_locked();
}

kvr_code Session::connection_fault_locked() const {
  switch (connection_) {
    case Connection::up:
      return KVR_RES_OK;
    case Connection::lost:
      return lost_code_;
    case Connection::none:
      break;
  }
  return KVR_RES_DEVICE_NOT_CONNECTED;
}

kvr_code Session::get_device_info(kvr_DeviceInfo* info) {
  const std::shared_ptr<const Bench> bench = look_at_bench();
  const std::lock_guard lock(mutex_);
  if (const kvr_code fault = connection_fault_locked(); fault != KVR_RES_OK) {
    return fault;
  }
  if (info == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  constexpr std::int32_t kCalibrationHolds = 365;  // days
  const InstrumentSettings& instrument = bench->instrument;
  *info = {};
  info->instrument_type = instrument.type;
  fill_field(info->serial_number, instrument.serial_number);
  fill_field(info->hardware_version, instrument.hardware_version);
  fill_field(info->software_version, instrument.software_version);
  fill_field(info->firmware_version, instrument.firmware_version);
  info->debug_mode = flag(instrument.debug_mode);
  info->device_date_time = time_on(instrument);
  info->calibrated = flag(instrument.calibrated);
  info->calibration_old = flag(instrument.calibration_age > kCalibrationHolds);
  info->calibration_date =
      info->device_date_time - std::int64_t{instrument.calibration_age} * 24 * 60 * 60;
  info->model_tier = instrument.model_tier;
  return KVR_RES_OK;
}

kvr_code Session::get_status(kvr_Status* status) {
  const std::shared_ptr<const Bench> bench = look_at_bench();
  const std::lock_guard lock(mutex_);
  if (const kvr_code fault = connection_fault_locked(); fault != KVR_RES_OK) {
    return fault;
  }
  if (status == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  const StatusSettings& settings = bench->status;
  *status = {};
  status->device_status_code = settings.device_status_code;
  status->api_locked = flag(locked_ || settings.api_locked);
  // The database is on the card, so without the card there is none: clients see by this flag that
  // no test can be stored.
  status->database_loaded = flag(check_store(settings, *store_, false) == KVR_RES_OK);
  status->measurement_board_connected = flag(settings.measurement_board_connected);
  status->emergency_button_pressed = flag(settings.emergency_button_pressed);
  status->secondary_sd_mounted = flag(settings.secondary_sd_mounted);
  status->secondary_sd_read_only = flag(settings.secondary_sd_read_only || store_->is_read_only());
  status->primary_sd_error = flag(settings.primary_sd_error);
  status->secondary_sd_error = flag(settings.secondary_sd_error);
  return KVR_RES_OK;
}

kvr_code Session::lock_api() {
  const std::shared_ptr<const Bench> bench = look_at_bench();
  const std::lock_guard lock(mutex_);
  if (const kvr_code fault = connection_fault_locked(); fault != KVR_RES_OK) {
    return fault;
  }
  if (locked_ || bench->status.api_locked) {
    return KVR_RES_API_LOCKED;
  }
  locked_ = true;
  return KVR_RES_OK;
}

kvr_code Session::unlock_api() {
  look_at_bench();
  const std::lock_guard lock(mutex_);
  if (const kvr_code fault = connection_fault_locked(); fault != KVR_RES_OK) {
    return fault;
  }
  if (runner_.is_testing()) {
    return KVR_RES_TESTING_IN_PROGRESS;
  }
  return std::exchange(locked_, false) ? KVR_RES_OK : KVR_RES_API_UNLOCKED;
}

kvr_code Session::cancel_operation() {
  return runner_.stop(KVR_RES_OPERATION_CANCELLED) ? KVR_RES_OK : KVR_RES_TEST_NOT_RUNNING;
}

// Tests.

kvr_code Session::test_ratio_1ph(const kvr_TestRequestHeader* header,
                                 const kvr_Ratio1phRequest* request,
                                 const kvr_ProgressHandler* progress, const Fault& fault,
                                 kvr_TestRecord** record) {
  if (header == nullptr || request == nullptr || record == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  return run_test(
      {*header,
       progress,
       {request->test_type, family_name(&kvr_TestRecord::data_ratio_1ph)},
       request->setup,
       [request](const Bench& bench) { return check_single_phase_ratio(*request, bench); },
       [&](const TransformerUnit& unit, const Bench& bench, std::uint64_t seed) -> MeasuredTest {
         SinglePhaseRatio outcome = measure_single_phase_ratio(unit, *request, bench, seed);
         fail_phases(fault, outcome);
         return {outcome.code, {outcome.data, std::move(outcome.raw_data)}, outcome.residual_flux};
       }},
      record);
}

kvr_code Session::test_ratio_3ph(const kvr_TestRequestHeader* header,
                                 const kvr_Ratio3phRequest* request,
                                 const kvr_ProgressHandler* progress, const Fault& fault,
                                 kvr_TestRecord** record) {
  if (header == nullptr || request == nullptr || record == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  return run_test(
      {*header,
       progress,
       {request->test_type, family_name(&kvr_TestRecord::data_ratio_3ph)},
       request->setup,
       [request](const Bench& bench) { return check_three_phase_ratio(*request, bench); },
       [&](const TransformerUnit& unit, const Bench& bench, std::uint64_t seed) -> MeasuredTest {
         ThreePhaseRatio outcome = measure_three_phase_ratio(unit, *request, bench, seed);
         fail_phases(fault, outcome);
         const std::array<double, 3> residual_flux = outcome.residual_flux;
         std::string raw_data = std::move(outcome.raw_data);
         return {outcome.code, {std::move(outcome), std::move(raw_data)}, residual_flux};
       }},
      record);
}

kvr_code Session::run_test(const TestJob& job, kvr_TestRecord** record) {
  const std::shared_ptr<const Bench> bench = look_at_bench();
  const kvr_code fault = begin_test(*bench);
  return fault == KVR_RES_OK ? runner_.run(job, *bench, record) : fault;
}

kvr_code Session::begin_test(const Bench& bench) {
  const std::lock_guard lock(mutex_);
  if (ended_) {
    return KVR_RES_LIB_NOT_INITIALIZED;
  }
  if (const kvr_code fault = connection_fault_locked(); fault != KVR_RES_OK) {
    return fault;
  }
  if (runner_.is_testing()) {
    return KVR_RES_TESTING_IN_PROGRESS;
  }
  if (bench.status.api_locked) {
    return KVR_RES_API_LOCKED;
  }
  if (emergency_) {
    return KVR_RES_EMERGENCY_STOP_PRESSED;
  }
  if (interlock_) {
    return KVR_RES_INTERLOCK_ON;
  }
  if (!bench.status.measurement_board_connected) {
    return KVR_RES_MEASUREMENT_BOARD_CONNECTION;
  }
  runner_.begin(bench.measurement);
  return KVR_RES_OK;
}

void Session::look_at_step(std::int32_t step) {
  const std::shared_ptr<const Bench> bench = look_at_bench();
  const std::lock_guard lock(mutex_);
  if (step == bench->connection.lost_at_step && connection_ == Connection::up) {
    lose_connection_locked(*bench);
  }
}

// Records.

kvr_code Session::store_fault(bool for_writing) {
  const std::shared_ptr<const Bench> bench = look_at_bench();
  const std::lock_guard lock(mutex_);
  if (const kvr_code fault = connection_fault_locked(); fault != KVR_RES_OK) {
    return fault;
  }
  if (for_writing && runner_.is_testing()) {
    return KVR_RES_TESTING_IN_PROGRESS;
  }
  return check_store(bench->status, *store_, for_writing);
}

kvr_code Session::check_record_exists(const char* record_id, bool* exists) {
  if (const kvr_code fault = store_fault(false); fault != KVR_RES_OK) {
    return fault;
  }
  if (record_id == nullptr || exists == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  return store_->exists(record_id, *exists);
}

kvr_code Session::read_record(const char* record_id, kvr_TestRecord** record) {
  if (const kvr_code fault = store_fault(false); fault != KVR_RES_OK) {
    return fault;
  }
  if (record_id == nullptr || record == nullptr) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  RecordNest stored;
  const kvr_code code = store_->read(record_id, stored);
  if (code == KVR_RES_OK) {
    *record = stored.release();
  }
  return code;
}

kvr_code Session::delete_record(const char* record_id) {
  if (const kvr_code fault = store_fault(true); fault != KVR_RES_OK) {
    return fault;
  }
  return record_id == nullptr ? KVR_RES_INCORRECT_PARAMETERS : store_->remove(record_id);
}

kvr_code Session::clear_test_database() {
  const kvr_code fault = store_fault(true);
  return fault == KVR_RES_OK ? store_->clear() : fault;
}

kvr_code Session::list_records(kvr_TestLabelsList** list, const void* filter, std::int32_t sort_key,
                               bool ascending) {
  if (const kvr_code fault = store_fault(false); fault != KVR_RES_OK) {
    return fault;
  }
  if (list == nullptr || filter != nullptr || sort_key < kSortByDateTime ||
      sort_key > kSortByVectorGroup) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  Labels labels;
  const kvr_code code = store_->list(static_cast<SortKey>(sort_key), ascending, labels);
  if (code == KVR_RES_OK) {
    *list = labels.release();
  }
  return code;
}

}  // namespace virtual_instrument

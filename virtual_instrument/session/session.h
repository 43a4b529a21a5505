#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "api/client_api.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/bench/bench_source.h"
#include "virtual_instrument/session/runner.h"
#include "virtual_instrument/store/sqlite_store.h"

namespace virtual_instrument {

/// The time from initialising the library to shutting it down: the connection, the lock of the
/// instrument, the running test, and the thread that reports status events and watches the bench.
///
/// The functions are the exported calls of the same name, and safe on any thread, those of the
/// callbacks included: no lock is held while a callback runs. A call out of order returns the code
/// that names the mistake. Out parameters change only on success.
class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(const kvr_InitParams& params, std::shared_ptr<BenchSource> benches,
          std::shared_ptr<SqliteStore> store);

  /// Starts the session's thread. Once, before any other function.
  void start();

  /// Ends a running test and the session's thread. When it returns, no callback runs and none will
  /// come, except the one from which it was called. Call it once.
  void shut_down();

  kvr_code connect(const kvr_ConnectionType* type, const char* client_name, char* firmware_version);
  kvr_code check_connection();
  kvr_code get_device_info(kvr_DeviceInfo* info);
  kvr_code get_status(kvr_Status* status);
  kvr_code lock_api();
  kvr_code unlock_api();
  kvr_code cancel_operation();

  /// `fault` names the phases of the result that must fail.
  kvr_code test_ratio_1ph(const kvr_TestRequestHeader* header, const kvr_Ratio1phRequest* request,
                          const kvr_ProgressHandler* progress, const Fault& fault,
                          kvr_TestRecord** record);
  kvr_code test_ratio_3ph(const kvr_TestRequestHeader* header, const kvr_Ratio3phRequest* request,
                          const kvr_ProgressHandler* progress, const Fault& fault,
                          kvr_TestRecord** record);

  kvr_code check_record_exists(const char* record_id, bool* exists);
  kvr_code read_record(const char* record_id, kvr_TestRecord** record);
  kvr_code delete_record(const char* record_id);
  kvr_code clear_test_database();
  kvr_code list_records(kvr_TestLabelsList** list, const void* filter, std::int32_t sort_key,
                        bool ascending);

 private:
  using Time = std::chrono::steady_clock::time_point;

  enum class Connection { none, up, lost };

  struct Event {
    kvr_code code;
    std::string text;
  };

  // Functions whose names end in _locked require the lock.

  void watch();
  std::optional<Time> next_look_locked(const Bench& bench) const;
  std::shared_ptr<const Bench> look_at_bench();
  void look_locked(const Bench& bench);
  void lose_connection_locked(const Bench& bench);
  void post_locked(kvr_code code, std::string text);
  kvr_code connection_fault_locked() const;
  kvr_code store_fault(bool for_writing);

  kvr_code run_test(const TestJob& job, kvr_TestRecord** record);
  kvr_code begin_test(const Bench& bench);
  void look_at_step(std::int32_t step);

  const kvr_StatusCallback status_callback_;
  void* const status_context_;
  const std::shared_ptr<BenchSource> benches_;
  const std::shared_ptr<SqliteStore> store_;
  TestRunner runner_;  ///< safe on any thread; may be called with the lock held
  std::thread watch_;

  std::mutex mutex_;
  std::condition_variable changed_;  ///< notified whenever something below changes
  bool ended_ = false;
  std::deque<Event> events_;
  Connection connection_ = Connection::none;
  kvr_code lost_code_ = KVR_RES_OK;
  Time connected_at_;
  bool locked_ = false;
  bool emergency_ = false;  ///< as last reported
  bool interlock_ = false;  ///< as last reported
};

}  // namespace virtual_instrument

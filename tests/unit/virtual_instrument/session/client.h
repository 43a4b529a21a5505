#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "api/client_api.h"
#include "support/temporary_folder.h"
#include "unit/virtual_instrument/requests.h"

// A client of the exported calls, in one process with the library.

namespace virtual_instrument {

/// Receives status callbacks. Tests wait for events, never for a time to pass.
class StatusLog {
 public:
  struct Event {
    kvr_code code;
    std::string text;
    std::thread::id thread;
  };

  /// For kvr_InitParams; the context is the log.
  static void callback(void* context, kvr_code code, const char* text);

  /// Runs on the library's thread, within each callback.
  std::function<void(kvr_code)> reaction;

  /// The first `count` events; fails the test if they don't come within a minute.
  std::vector<Event> wait_for(std::size_t count);
  std::size_t size();

 private:
  std::mutex mutex_;
  std::condition_variable grown_;
  std::vector<Event> events_;
};

struct FreeByCall {
  void operator()(kvr_TestRecord* record) const { kvr_FreeTestRecord(record); }
};
using RecordPointer = std::unique_ptr<kvr_TestRecord, FreeByCall>;

struct TestAnswer {
  kvr_code code;
  RecordPointer record;
};

/// The library with a bench file of the test's own, at first instant and without noise; not yet
/// started.
class ClientTest : public testing::Test {
 protected:
  ClientTest();
  ~ClientTest() override;

  /// Makes `text` the bench, on top of an instant one with its clock stopped at 2024-03-05 12:00.
  void set_bench(const std::string& text);

  kvr_code initialize();
  static kvr_code connect();
  void start(const std::string& bench = "");

  /// A single-phase test at 8 V.
  static TestAnswer test(const std::string& record_id = "",
                         kvr_SaveMode save_mode = KVR_SAVE_NOTHING,
                         kvr_ProgressHandler* progress = nullptr);
  static TestAnswer test_3ph(const std::string& record_id = "",
                             kvr_SaveMode save_mode = KVR_SAVE_NOTHING,
                             kvr_ProgressHandler* progress = nullptr);
  static TestAnswer read(const std::string& record_id);

  StatusLog status_;
  kvr_InitParams params_{};
  TemporaryFolder folder_;
};

}  // namespace virtual_instrument

#include "unit/virtual_instrument/session/client.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "support/process.h"

namespace virtual_instrument {

void StatusLog::callback(void* context, kvr_code code, const char* text) {
  StatusLog& log = *static_cast<StatusLog*>(context);
  if (log.reaction) {
    log.reaction(code);
  }
  const std::lock_guard lock(log.mutex_);
  log.events_.push_back({code, text == nullptr ? "(null)" : text, std::this_thread::get_id()});
  log.grown_.notify_all();
}

std::vector<StatusLog::Event> StatusLog::wait_for(std::size_t count) {
  std::unique_lock lock(mutex_);
  EXPECT_TRUE(
      grown_.wait_for(lock, std::chrono::minutes(1), [&] { return events_.size() >= count; }))
      << "only " << events_.size() << " events came";
  std::vector<Event> events = events_;
  events.resize(std::max(count, events.size()));
  return events;
}

std::size_t StatusLog::size() {
  const std::lock_guard lock(mutex_);
  return events_.size();
}

ClientTest::ClientTest() {
  params_.init_mode = 2;
  params_.init_setting_a = 1000;
  params_.init_setting_b = 50;
  params_.status_callback = StatusLog::callback;
  params_.status_context = &status_;
  set_bench("");
  set_environment("KVR_BENCH_FILE", (folder_.path() / "bench.toml").string());
}

ClientTest::~ClientTest() {
  // Clears the store for the next test, since the store outlives sessions.
  kvr_Lib_Shutdown();
  status_.reaction = nullptr;
  set_bench("");
  initialize();
  connect();
  kvr_ClearTestDatabase();
  kvr_Lib_Shutdown();
  set_environment("KVR_BENCH_FILE", "");
}

void ClientTest::set_bench(const std::string& text) {
  // A test's own tables come first; keys that they hold are left out of the others.
  std::string bench = text;
  for (const auto& [table, keys] :
       {std::pair<std::string, std::string>{"[instrument]", "clock = 2024-03-05T11:00:00Z\n"},
        {"[measurement]", "duration = 0\nnoise = 0\nsamples_per_period = 16\nperiods = 2\n"}}) {
    if (bench.find(table) == std::string::npos) {
      bench += "\n" + table + "\n" + keys;
    }
  }
  folder_.write("bench.toml", bench);
}

kvr_code ClientTest::initialize() { return kvr_Lib_Initialize(&params_); }

kvr_code ClientTest::connect() {
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  std::array<char, kFirmwareTextSize> firmware{};
  return kvr_ConnectAPI(&type, 5, "ConsoleTester_x86", firmware.data());
}

void ClientTest::start(const std::string& bench) {
  set_bench(bench);
  ASSERT_EQ(initialize(), KVR_RES_OK);
  ASSERT_EQ(kvr_SetClientKey("key"), KVR_RES_OK);
  ASSERT_EQ(connect(), KVR_RES_OK);
}

TestAnswer ClientTest::test(const std::string& record_id, kvr_SaveMode save_mode,
                            kvr_ProgressHandler* progress) {
  kvr_TestRequestHeader header = request_header(record_id, save_mode);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10);
  kvr_TestRecord* record = nullptr;
  const kvr_code code = kvr_Test_Ratio_1ph(&header, &request, progress, &record);
  return {code, RecordPointer(record)};
}

TestAnswer ClientTest::test_3ph(const std::string& record_id, kvr_SaveMode save_mode,
                                kvr_ProgressHandler* progress) {
  kvr_TestRequestHeader header = request_header(record_id, save_mode);
  kvr_Ratio3phRequest request =
      ratio_3ph_request(KVR_TEST_RATIO_DOWN, 8, KVR_WINDING_YN, KVR_WINDING_YN, 10);
  kvr_TestRecord* record = nullptr;
  const kvr_code code = kvr_Test_Ratio_3ph(&header, &request, progress, &record);
  return {code, RecordPointer(record)};
}

TestAnswer ClientTest::read(const std::string& record_id) {
  kvr_TestRecord* record = nullptr;
  const kvr_code code = kvr_ReadRecord(record_id.c_str(), 1, &record);
  return {code, RecordPointer(record)};
}

}  // namespace virtual_instrument

#include "contract/contract.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>

namespace contract {

Scenes::Scenes(std::filesystem::path texts, std::filesystem::path file)
    : texts_(std::move(texts)), file_(std::move(file)) {}

void Scenes::set(std::string_view name) const {
  if (available()) {
    std::ifstream scene(texts_ / (std::string(name) + ".toml"), std::ios::binary);
    std::ofstream(file_, std::ios::binary) << scene.rdbuf();
  }
}

bool Check::that(bool holds, const std::string& what) {
  if (!holds) {
    problems.push_back(what);
  }
  return holds;
}

bool Check::answer(std::string_view call, kvr_code got, kvr_code expected) {
  return that(got == expected,
              std::string(call) + " answered " + code_text(got) + ", not " + code_text(expected));
}

void Check::require(bool holds, const std::string& what) {
  if (!that(holds, what)) {
    throw Ended{};
  }
}

std::string code_text(kvr_code code) {
  return std::to_string(static_cast<int>(code)) + " " + std::string(CodeToText(code));
}

bool accepted(kvr_code code) {
  return code == KVR_RES_OK || code == KVR_RES_CHECK_ERROR_STATUS ||
         code == KVR_RES_PARTIAL_RESULT_CHECK_STATUS;
}

void Events::callback(void* context, kvr_code code, const char*) {
  Events& events = *static_cast<Events*>(context);
  if (events.reaction) {
    events.reaction(code);
  }
  const std::lock_guard lock(events.mutex_);
  events.events_.push_back({code, std::this_thread::get_id()});
  events.grown_.notify_all();
}

std::vector<Events::Event> Events::wait_for(std::size_t count) {
  std::unique_lock lock(mutex_);
  grown_.wait_for(lock, kPatience, [&] { return events_.size() >= count; });
  return events_;
}

std::size_t Events::size() {
  const std::lock_guard lock(mutex_);
  return events_.size();
}

kvr_InitParams init_params(Events* events) {
  kvr_InitParams params{};
  params.init_mode = 2;
  params.init_setting_a = 1000;
  params.init_setting_b = 50;
  params.status_callback = events == nullptr ? nullptr : Events::callback;
  params.status_context = events;
  return params;
}

kvr_code connect(const ClientApiTable& api) {
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  std::array<char, kFirmwareTextSize> firmware{};
  return api.kvr_ConnectAPI(&type, 5, "ContractSuite", firmware.data());
}

Session::Session(Check& check, Events* events) : check_(check) {
  kvr_InitParams params = init_params(events);
  const kvr_code begun = check.api.kvr_Lib_Initialize(&params);
  check.require(accepted(begun), "kvr_Lib_Initialize answered " + code_text(begun));
  check.api.kvr_SetClientKey("development-client-key");
  if (const kvr_code code = connect(check.api); !accepted(code)) {
    check.api.kvr_Lib_Shutdown();
    check.require(false, "kvr_ConnectAPI answered " + code_text(code));
  }
}

Session::~Session() { check_.api.kvr_Lib_Shutdown(); }

kvr_TestRequestHeader request_header(std::string_view record_id, kvr_SaveMode save_mode) {
  kvr_TestRequestHeader header{};
  record_id.copy(header.record_id, sizeof header.record_id - 1);
  header.save_mode = save_mode;
  return header;
}

namespace {

kvr_TestSetup request_setup() {
  kvr_TestSetup setup{};
  setup.windings[0].voltage = 10;
  setup.windings[1].voltage = 1;
  for (kvr_WindingSetup& winding : setup.windings) {
    winding.winding_setting = 1;
  }
  setup.connections[0].clock = kClockUnknown;
  setup.line_frequency = 60;
  setup.setup_value_b = 1;
  setup.temperature_from = 20;
  setup.temperature_to = 75;
  setup.setup_value_c = 100;
  setup.setup_value_d = 1;
  setup.setup_flag_a = 1;
  setup.setup_flag_b = 1;
  return setup;
}

template <typename Request>
TestReply reply_of(Check& check, kvr_TestRequestHeader& header, Request& request,
                   kvr_ProgressHandler* progress,
                   kvr_code (*call)(kvr_TestRequestHeader*, Request*, kvr_ProgressHandler*,
                                    kvr_TestRecord**)) {
  kvr_TestRecord* record = nullptr;
  const kvr_code code = call(&header, &request, progress, &record);
  // A library that keeps a pointer to a request finds other bytes there.
  std::memset(&header, 0x55, sizeof header);
  std::memset(&request, 0x55, sizeof request);
  return {code, Record(record, FreeRecord{&check.api})};
}

}  // namespace

kvr_Ratio1phRequest request_1ph(float voltage) {
  kvr_Ratio1phRequest request{};
  request.test_type = KVR_TEST_RATIO_DOWN;
  request.high_side_phase = 1;
  request.low_side_phase = 1;
  request.setup = request_setup();
  request.test_voltage = voltage;
  request.request_flag_a = 1;
  request.limit_a = 0.5F;
  request.limit_b = 0.00872665F;
  return request;
}

kvr_Ratio3phRequest request_3ph(float voltage) {
  kvr_Ratio3phRequest request{};
  request.setup = request_setup();
  request.setup.windings[0].winding_type = KVR_WINDING_D;
  request.setup.windings[1].winding_type = KVR_WINDING_YN;
  request.testing_mode = KVR_TESTING_MODE_3PH_3_3;
  request.test_type = KVR_TEST_RATIO_DOWN;
  request.tested_phase = kAllPhases;
  request.test_voltage = voltage;
  request.request_flag_a = 1;
  request.limit_a = 0.5F;
  request.limit_b = 0.00872665F;
  return request;
}

TestReply run(Check& check, kvr_TestRequestHeader header, kvr_Ratio1phRequest request,
              kvr_ProgressHandler* progress) {
  return reply_of(check, header, request, progress, check.api.kvr_Test_Ratio_1ph);
}

TestReply run(Check& check, kvr_TestRequestHeader header, kvr_Ratio3phRequest request,
              kvr_ProgressHandler* progress) {
  return reply_of(check, header, request, progress, check.api.kvr_Test_Ratio_3ph);
}

Record measured(Check& check, std::string_view record_id, kvr_SaveMode save_mode, float voltage) {
  TestReply reply = run(check, request_header(record_id, save_mode), request_1ph(voltage));
  check.require(accepted(reply.code), "kvr_Test_Ratio_1ph answered " + code_text(reply.code));
  check.require(reply.record != nullptr, "an accepted test gave no record");
  return std::move(reply.record);
}

Record read(Check& check, const char* record_id) {
  kvr_TestRecord* record = nullptr;
  const kvr_code code = check.api.kvr_ReadRecord(record_id, 1, &record);
  check.require(accepted(code),
                std::string("kvr_ReadRecord of ") + record_id + " answered " + code_text(code));
  check.require(record != nullptr, "an accepted read gave no record");
  return {record, FreeRecord{&check.api}};
}

bool exists(Check& check, const char* record_id) {
  bool there = false;
  check.answer("kvr_CheckRecordExists", check.api.kvr_CheckRecordExists(record_id, &there),
               KVR_RES_OK);
  return there;
}

List list(Check& check, std::int32_t sort_key, bool ascending) {
  kvr_TestLabelsList* listed = nullptr;
  const kvr_code code = check.api.kvr_ListRecords(&listed, nullptr, sort_key, ascending ? 1 : 0);
  check.require(accepted(code), "kvr_ListRecords answered " + code_text(code));
  check.require(listed != nullptr, "an accepted kvr_ListRecords gave no list");
  return {listed, FreeList{&check.api}};
}

int position(const kvr_TestLabelsList& list, std::string_view record_id) {
  for (std::uint32_t place = 0; place < list.count; ++place) {
    if (list.entries[place].record_id == record_id) {
      return static_cast<int>(place);
    }
  }
  return -1;
}

StoredRecords::StoredRecords(Check& check, std::vector<const char*> ids)
    : check_(check), ids_(std::move(ids)) {
  remove();
}

StoredRecords::~StoredRecords() { remove(); }

void StoredRecords::remove() const {
  for (const char* id : ids_) {
    check_.api.kvr_DeleteRecord(id);
  }
}

namespace {

template <typename Value>
void append(std::string& bytes, const Value& value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void append_result(std::string& bytes, const kvr_TestData_Ratio_3ph* result) {
  if (result == nullptr) {
    bytes += "null";
    return;
  }
  kvr_TestData_Ratio_3ph copy = *result;
  copy.step_up = copy.step_down = nullptr;
  append(bytes, copy);
  append_result(bytes, result->step_up);
  append_result(bytes, result->step_down);
}

}  // namespace

std::string contents_of(const kvr_TestRecord& record) {
  std::string bytes(reinterpret_cast<const char*>(&record),
                    offsetof(kvr_TestRecord, data_ratio_3ph));
  append(bytes, record.data_count);
  for (std::uint32_t number = 0; number < record.data_count; ++number) {
    if (record.data_ratio_3ph != nullptr) {
      append_result(bytes, record.data_ratio_3ph[number]);
    }
    if (record.data_ratio_1ph != nullptr && record.data_ratio_1ph[number] != nullptr) {
      append(bytes, *record.data_ratio_1ph[number]);
    }
  }
  return bytes + (record.raw_data == nullptr ? "null" : record.raw_data);
}

}  // namespace contract

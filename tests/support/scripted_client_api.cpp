#include "support/scripted_client_api.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace {

constexpr std::chrono::seconds kLongestWaitForCancel{30};

bool is_taken_as_success(std::int32_t result) {
  return result == KVR_RES_OK || result == KVR_RES_CHECK_ERROR_STATUS ||
         result == KVR_RES_PARTIAL_RESULT_CHECK_STATUS;
}

/// Text in quotes, bytes that don't print as \xHH.
std::string quoted(const char* text) {
  if (text == nullptr) {
    return "null";
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string result = "\"";
  for (const char* at = text; *at != '\0'; ++at) {
    const auto byte = static_cast<unsigned char>(*at);
    if (byte == '"' || byte == '\\') {
      result += '\\';
      result += *at;
    } else if (byte >= ' ' && byte < 0x7F) {
      result += *at;
    } else {
      result += "\\x";
      result += kDigits[byte >> 4U];
      result += kDigits[byte & 15U];
    }
  }
  return result + "\"";
}

std::string set_or_null(bool is_set) { return is_set ? "set" : "null"; }

/// Copies what fits and terminates it, as a library fills its fields.
void fill_text(char* target, std::size_t size, std::string_view text) {
  const std::size_t length = std::min(text.size(), size - 1);
  std::copy_n(text.begin(), length, target);
  target[length] = '\0';
}

template <std::size_t size>
void fill_text(char (&target)[size], std::string_view text) {
  fill_text(target, size, text);
}

template <std::size_t size>
std::string text_of(const char (&field)[size]) {
  return {field, std::find(field, field + size, '\0')};
}

SeenCall seen_call(ApiCall call, const std::string& arguments) {
  SeenCall seen;
  seen.call = call;
  seen.line = std::string(name_of(call)) + (arguments.empty() ? "" : " ") + arguments;
  return seen;
}

std::string indented(const std::string& title, const std::string& rows) {
  std::string result = "  " + title + " ";
  for (const char letter : rows) {
    result += letter;
    if (letter == '\n') {
      result += "    ";
    }
  }
  return result.substr(0, result.size() - 4);
}

}  // namespace

std::string SeenCall::text() const {
  std::string result = line + "\n";
  if (!body.empty()) {
    result += indented("head", byte_rows(bytes_of(head))) + indented("body", byte_rows(body));
  }
  return result;
}

void ScriptedClientApi::DeleteList::operator()(kvr_TestLabelsList* list) const {
  delete[] list->entries;
  delete list;
}

ScriptedClientApi& scripted_api() {
  // Never destroyed: a callback thread may end the process while the main thread is in a call.
  static auto& api = *new ScriptedClientApi;
  return api;
}

void ScriptedClientApi::reset() {
  const std::lock_guard lock(mutex_);
  queued_.clear();
  always_.clear();
  log_.clear();
  complaints_.clear();
  records_.clear();
  lists_.clear();
  lists_of_refused_calls_.clear();
  texts_.clear();
  records_handed_out_ = 0;
  lists_handed_out_ = 0;
  cancels_ = 0;
  status_callback_ = nullptr;
  status_context_ = nullptr;
  on_call = nullptr;
  keeps_log = true;
}

void ScriptedClientApi::answer(ApiCall call, ScriptedAnswer answer) {
  const std::lock_guard lock(mutex_);
  queued_[call].push_back(std::move(answer));
}

void ScriptedClientApi::answer_always(ApiCall call, ScriptedAnswer answer) {
  const std::lock_guard lock(mutex_);
  always_[call] = std::move(answer);
}

std::vector<SeenCall> ScriptedClientApi::log() const {
  const std::lock_guard lock(mutex_);
  return log_;
}

std::vector<std::string_view> ScriptedClientApi::calls(
    std::initializer_list<ApiCall> except) const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string_view> names;
  for (const SeenCall& seen : log_) {
    if (std::find(except.begin(), except.end(), seen.call) == except.end()) {
      names.push_back(name_of(seen.call));
    }
  }
  return names;
}

std::size_t ScriptedClientApi::count(ApiCall call) const { return seen(call).size(); }

std::vector<SeenCall> ScriptedClientApi::seen(ApiCall call) const {
  const std::lock_guard lock(mutex_);
  std::vector<SeenCall> result;
  std::copy_if(log_.begin(), log_.end(), std::back_inserter(result),
               [call](const SeenCall& seen) { return seen.call == call; });
  return result;
}

std::vector<std::string> ScriptedClientApi::complaints() const {
  const std::vector<std::size_t> kept = records_kept();
  const std::lock_guard lock(mutex_);
  std::vector<std::string> result = complaints_;
  for (const std::size_t number : kept) {
    result.push_back("record " + std::to_string(number) + " was not given back");
  }
  for (const auto& [call, answers] : queued_) {
    if (!answers.empty()) {
      result.push_back(std::to_string(answers.size()) + " more answers to " +
                       std::string(name_of(call)) + " than calls");
    }
  }
  return result;
}

std::size_t ScriptedClientApi::records_handed_out() const {
  const std::lock_guard lock(mutex_);
  return records_handed_out_;
}

std::size_t ScriptedClientApi::records_given_back() const {
  const std::lock_guard lock(mutex_);
  return records_handed_out_ - records_.size();
}

std::vector<std::size_t> ScriptedClientApi::records_kept() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::size_t> numbers;
  numbers.reserve(records_.size());
  for (const auto& [record, handed_out] : records_) {
    numbers.push_back(handed_out.number);
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

std::size_t ScriptedClientApi::lists_handed_out() const {
  const std::lock_guard lock(mutex_);
  return lists_handed_out_;
}

std::size_t ScriptedClientApi::lists_given_back() const {
  const std::lock_guard lock(mutex_);
  return lists_handed_out_ - lists_.size();
}

void ScriptedClientApi::tell_status(const ScriptedStatusEvent& event) {
  kvr_StatusCallback callback = nullptr;
  void* context = nullptr;
  {
    const std::lock_guard lock(mutex_);
    callback = status_callback_;
    context = status_context_;
  }
  if (callback == nullptr) {
    return;
  }
  std::thread([&] {
    callback(context, event.code, event.text ? event.text->c_str() : nullptr);
  }).join();
}

ScriptedAnswer ScriptedClientApi::take_answer(SeenCall seen, const kvr_ProgressHandler* handler) {
  const ApiCall call = seen.call;
  ScriptedAnswer answer;
  {
    const std::lock_guard lock(mutex_);
    if (on_call) {
      on_call(seen);
    }
    if (keeps_log) {
      log_.push_back(std::move(seen));
    }
    if (auto& queue = queued_[call]; !queue.empty()) {
      answer = std::move(queue.front());
      queue.pop_front();
    } else if (const auto found = always_.find(call); found != always_.end()) {
      answer = found->second;
    }
  }
  block(call, answer, handler);
  return answer;
}

void ScriptedClientApi::block(ApiCall call, const ScriptedAnswer& answer,
                              const kvr_ProgressHandler* handler) {
  std::unique_lock lock(mutex_);
  const std::size_t cancels_before = cancels_;
  lock.unlock();

  if (handler != nullptr && !answer.progress.empty()) {
    std::thread([&] {
      for (const kvr_Progress& progress : answer.progress) {
        handler->progress_callback(handler->progress_context, &progress);
      }
    }).join();
  }
  for (const ScriptedStatusEvent& event : answer.status) {
    if (event.after_return.count() == 0) {
      tell_status(event);
    } else {
      // Kept, not detached: see platform::run_detached.
      const std::lock_guard adding(mutex_);
      static std::deque<std::thread>& late = *new std::deque<std::thread>;
      late.emplace_back([this, event] {
        std::this_thread::sleep_for(event.after_return);
        tell_status(event);
      });
    }
  }
  if (answer.meanwhile) {
    answer.meanwhile();
  }
  std::this_thread::sleep_for(answer.delay);
  if (answer.until_cancelled) {
    lock.lock();
    if (!cancelled_.wait_for(lock, kLongestWaitForCancel,
                             [&] { return cancels_ != cancels_before; })) {
      complaints_.push_back(std::string(name_of(call)) + " was not cancelled");
    }
  }
}

void ScriptedClientApi::hand_out(const ScriptedAnswer& answer, std::shared_ptr<kvr_TestRecord> made,
                                 kvr_TestRecord*& record) {
  record = made.get();
  if (record == nullptr) {
    return;
  }
  for (const auto& alter : answer.alterations) {
    alter(*record);
  }
  const std::lock_guard lock(mutex_);
  records_[record] = {std::move(made), ++records_handed_out_, answer.alterations};
}

const char* ScriptedClientApi::keep_text(std::string text) {
  const std::lock_guard lock(mutex_);
  return texts_.emplace_back(std::move(text)).c_str();
}

kvr_code ScriptedClientApi::initialize(ApiCall call, const std::string& port,
                                       const kvr_InitParams& params) {
  {
    const std::lock_guard lock(mutex_);
    status_callback_ = params.status_callback;
    status_context_ = params.status_context;
  }
  const auto number = [](const char* name, std::int32_t value) {
    return std::string(name) + "=" + std::to_string(value) + " ";
  };
  return static_cast<kvr_code>(
      take_answer(
          seen_call(call, port + number("init_mode", params.init_mode) +
                              number("debug_mode", params.debug_mode) +
                              number("quiet_mode", params.quiet_mode) +
                              number("init_setting_a", params.init_setting_a) +
                              number("init_setting_b", params.init_setting_b) +
                              "status_callback=" + set_or_null(params.status_callback != nullptr) +
                              " status_context=" + set_or_null(params.status_context != nullptr)))
          .result);
}

std::int32_t ScriptedClientApi::plain(ApiCall call, const std::string& arguments) {
  return take_answer(seen_call(call, arguments)).result;
}

kvr_code ScriptedClientApi::connect(kvr_ConnectionType type, std::int32_t setting,
                                    const char* client_name, char* firmware) {
  const bool cleared =
      std::all_of(firmware, firmware + kFirmwareTextSize, [](char c) { return c == '\0'; });
  const ScriptedAnswer answer = take_answer(seen_call(
      ApiCall::ConnectAPI, "type=" + std::to_string(type) + " setting=" + std::to_string(setting) +
                               " client_name=" + quoted(client_name) +
                               " firmware=" + (cleared ? "cleared" : quoted(firmware))));
  if (answer.text || is_taken_as_success(answer.result)) {
    fill_text(firmware, kFirmwareTextSize, answer.text.value_or("3.1.4"));
  }
  return static_cast<kvr_code>(answer.result);
}

const char* ScriptedClientApi::code_to_string(kvr_code code) {
  const std::string number = std::to_string(static_cast<std::int32_t>(code));
  const ScriptedAnswer answer = take_answer(seen_call(ApiCall::CodeToString, number));
  return answer.null ? nullptr : keep_text(answer.text.value_or("wording of code " + number));
}

kvr_code ScriptedClientApi::get_client_api_info(kvr_ClientAPIInfo& info) {
  const ScriptedAnswer answer = take_answer(seen_call(ApiCall::GetClientAPIInfo, ""));
  if (answer.text || is_taken_as_success(answer.result)) {
    info = {};
    fill_text(info.version, answer.text.value_or("5.6.7"));
  }
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::get_device_info(kvr_DeviceInfo& info) {
  const ScriptedAnswer answer = take_answer(seen_call(ApiCall::GetDeviceInfo, ""));
  if (answer.device_info || is_taken_as_success(answer.result)) {
    info = answer.device_info.value_or(default_device_info());
  }
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::get_status(kvr_Status& status) {
  const ScriptedAnswer answer = take_answer(seen_call(ApiCall::GetStatus, ""));
  if (answer.device_status || is_taken_as_success(answer.result)) {
    status = answer.device_status.value_or(healthy_status());
  }
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::cancel() {
  const ScriptedAnswer answer = take_answer(seen_call(ApiCall::CancelOperation, ""));
  {
    const std::lock_guard lock(mutex_);
    ++cancels_;
  }
  cancelled_.notify_all();
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::test(
    ApiCall call, const kvr_TestRequestHeader& head, Bytes body, const kvr_ProgressHandler& handler,
    kvr_TestRecord*& record,
    const std::function<std::shared_ptr<kvr_TestRecord>(const std::string&)>& ordinary) {
  SeenCall seen =
      seen_call(call, "progress_callback=" + set_or_null(handler.progress_callback != nullptr) +
                          " progress_context=" + set_or_null(handler.progress_context != nullptr) +
                          " record=" + set_or_null(record != nullptr));
  seen.head = head;
  seen.body = std::move(body);
  seen.handler = handler;
  seen.record_was_null = record == nullptr;
  const ScriptedAnswer answer = take_answer(std::move(seen), &handler);
  if (answer.record) {
    hand_out(answer, answer.record(), record);
  } else if (is_taken_as_success(answer.result) && !answer.null) {
    const std::string id = text_of(head.record_id);
    hand_out(answer, ordinary(id.empty() ? "AUTO-" + std::to_string(count(call)) : id), record);
  }
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::free_record(const kvr_TestRecord* record) {
  std::string argument = set_or_null(record != nullptr);
  {
    const std::lock_guard lock(mutex_);
    if (const auto found = records_.find(record); found != records_.end()) {
      argument = "record=" + std::to_string(found->second.number) + " " +
                 quoted(text_of(record->record_id).c_str());
      records_.erase(found);
    } else {
      complaints_.emplace_back("kvr_FreeTestRecord of what is not handed out");
    }
  }
  return static_cast<kvr_code>(plain(ApiCall::FreeTestRecord, argument));
}

kvr_code ScriptedClientApi::check_record_exists(const char* record_id, bool& exists) {
  const ScriptedAnswer answer = take_answer(seen_call(
      ApiCall::CheckRecordExists, quoted(record_id) + " exists=" + (exists ? "true" : "false")));
  if (answer.exists || is_taken_as_success(answer.result)) {
    exists = answer.exists.value_or(false);
  }
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::read_record(const char* record_id, std::int32_t setting,
                                        kvr_TestRecord*& record) {
  SeenCall seen =
      seen_call(ApiCall::ReadRecord, quoted(record_id) + " setting=" + std::to_string(setting) +
                                         " record=" + set_or_null(record != nullptr));
  seen.record_was_null = record == nullptr;
  const ScriptedAnswer answer = take_answer(std::move(seen));
  if (answer.record) {
    hand_out(answer, answer.record(), record);
  } else if (is_taken_as_success(answer.result) && !answer.null) {
    hand_out(answer, ratio_1ph_record(record_id), record);
  }
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::list_records(kvr_TestLabelsList*& list, const void* filter,
                                         std::int32_t sort_key, std::int32_t ascending) {
  SeenCall seen = seen_call(ApiCall::ListRecords, "filter=" + set_or_null(filter != nullptr) +
                                                      " sort_key=" + std::to_string(sort_key) +
                                                      " ascending=" + std::to_string(ascending) +
                                                      " list=" + set_or_null(list != nullptr));
  seen.record_was_null = list == nullptr;
  const ScriptedAnswer answer = take_answer(std::move(seen));
  if (answer.labels || (is_taken_as_success(answer.result) && !answer.null)) {
    const std::vector<kvr_TestLabel> labels = answer.labels.value_or(std::vector<kvr_TestLabel>{});
    // One new[] and one new: the record export frees them by delete[] and delete.
    auto* entries = new kvr_TestLabel[labels.size()];
    std::copy(labels.begin(), labels.end(), entries);
    list = new kvr_TestLabelsList{entries, static_cast<std::uint32_t>(labels.size())};
    const std::lock_guard lock(mutex_);
    if (!is_taken_as_success(answer.result)) {
      lists_of_refused_calls_.emplace_back(list);
      return static_cast<kvr_code>(answer.result);
    }
    lists_.push_back(list);
    ++lists_handed_out_;
  }
  return static_cast<kvr_code>(answer.result);
}

kvr_code ScriptedClientApi::free_list(kvr_TestLabelsList* list) {
  {
    const std::lock_guard lock(mutex_);
    if (const auto found = std::find(lists_.begin(), lists_.end(), list); found != lists_.end()) {
      lists_.erase(found);
      delete[] list->entries;
      delete list;
    } else {
      complaints_.emplace_back("kvr_FreeTestLabelsList of what is not handed out");
    }
  }
  return static_cast<kvr_code>(plain(ApiCall::FreeTestLabelsList, set_or_null(list != nullptr)));
}

kvr_DeviceInfo default_device_info() {
  constexpr std::int64_t kNoonInMarch = 1614942000;  // 5 March 2021, 11:00 UTC
  constexpr std::int64_t kDay = 86400;
  kvr_DeviceInfo info{};
  fill_text(info.serial_number, "SN-0042");
  fill_text(info.hardware_version, "H7");
  fill_text(info.software_version, "1.2");
  fill_text(info.firmware_version, "3.1.4");
  info.device_date_time = kNoonInMarch;
  info.calibrated = 1;
  info.calibration_date = kNoonInMarch - 100 * kDay;
  info.model_tier = 30;
  return info;
}

kvr_Status healthy_status() {
  kvr_Status status{};
  status.database_loaded = 1;
  status.measurement_board_connected = 1;
  status.secondary_sd_mounted = 1;
  return status;
}

namespace {

/// A record with one result, in one piece.
template <class Result>
struct RecordOfOne {
  kvr_TestRecord record{};
  Result result{};
  Result* results[1] = {&result};
  std::string raw_data;
};

template <class Result>
std::shared_ptr<RecordOfOne<Result>> record_of_one(const std::string& record_id, kvr_TestType type,
                                                   const kvr_TestSetup& setup) {
  auto whole = std::make_shared<RecordOfOne<Result>>();
  kvr_TestRecord& record = whole->record;
  fill_text(record.record_id, record_id);
  record.test_count = 1;
  record.test_type = type;
  record.setup = setup;
  fill_text(record.timestamp, "05.03.2021 12:00:00");
  record.data_count = 1;
  whole->raw_data = "raw data of " + record_id + "\n";
  record.raw_data = whole->raw_data.c_str();
  return whole;
}

/// A result carries the body of its request.
template <class Result, class Request>
void repeat_request(Result& result, std::size_t offset, const Request& request) {
  static_assert(sizeof(Result) > sizeof(Request));
  std::memcpy(reinterpret_cast<char*>(&result) + offset, &request, sizeof(request));
}

/// Values whose decimal text is short and exact, for tests that compare it.
kvr_TestData_Ratio_Phase plausible_phase(std::string_view name, float voltage) {
  kvr_TestData_Ratio_Phase phase{};
  fill_text(phase.phase_name, name);
  fill_text(phase.high_side_phase, "H1-H2");
  fill_text(phase.low_side_phase, "X1-X2");
  fill_text(phase.tvr_name, name);
  fill_text(phase.tvr_high, "H1-H2");
  fill_text(phase.tvr_low, "X1-X2");
  phase.voltage_h = voltage;
  phase.voltage_x = voltage / 16;
  phase.tnr = 16;
  phase.tnr_error = 0.25;
  phase.tvr = 15.5;
  phase.frequency = 60;
  phase.phase_high = 0.5F;
  phase.phase_low = 0.25F;
  phase.phase_shift_absolute = 0.25F;
  phase.efi = 1.5F;
  phase.voltage_rms = voltage;
  phase.current_rms = 0.125F;
  phase.vol_rms_high = voltage;
  phase.vol_rms_low = voltage / 16;
  phase.curr_h = 0.0625F;
  phase.curr_x = 0.5F;
  phase.induced_voltage = 2;
  return phase;
}

double reference_ratio(const kvr_TestSetup& setup) {
  const auto [high, low, tertiary] = setup.windings;
  return low.voltage == 0.0F ? 0.0 : static_cast<double>(high.voltage / low.voltage);
}

}  // namespace

std::shared_ptr<kvr_TestRecord> ratio_1ph_record(const std::string& record_id,
                                                 const kvr_Ratio1phRequest& request) {
  const auto whole =
      record_of_one<kvr_TestData_Ratio_1ph>(record_id, request.test_type, request.setup);
  kvr_TestData_Ratio_1ph& result = whole->result;
  repeat_request(result, offsetof(kvr_TestData_Ratio_1ph, direction), request);
  if (request.test_type == KVR_TEST_RATIO_AUTO) {
    result.direction = KVR_TEST_RATIO_UP;
  }
  result.reference_ratio = reference_ratio(request.setup);
  result.phase = plausible_phase("A", request.test_voltage);
  whole->record.data_ratio_1ph = whole->results;
  return {whole, &whole->record};
}

std::shared_ptr<kvr_TestRecord> ratio_3ph_record(const std::string& record_id,
                                                 const kvr_Ratio3phRequest& request) {
  const auto whole =
      record_of_one<kvr_TestData_Ratio_3ph>(record_id, request.test_type, request.setup);
  kvr_TestData_Ratio_3ph& result = whole->result;
  repeat_request(result, offsetof(kvr_TestData_Ratio_3ph, setup), request);
  result.reference_ratio = reference_ratio(request.setup);
  result.tvr_multiplier = 1;
  constexpr std::string_view kNames[] = {"A", "B", "C"};
  for (std::size_t i = 0; i < std::size(kNames); ++i) {
    result.phases[i] = plausible_phase(kNames[i], request.test_voltage);
  }
  result.ratio_3ph = 16;
  result.health_state = KVR_HEALTH_GOOD;
  whole->record.data_ratio_3ph = whole->results;
  return {whole, &whole->record};
}

// What the program calls.

kvr_code kvr_Lib_Initialize(kvr_InitParams* params) {
  return scripted_api().initialize(ApiCall::Lib_Initialize, "", *params);
}

kvr_code kvr_Lib_InitializeTestStation(const char* port, kvr_InitParams* params) {
  return scripted_api().initialize(ApiCall::Lib_InitializeTestStation, "port=" + quoted(port) + " ",
                                   *params);
}

kvr_code kvr_Lib_Shutdown() {
  return static_cast<kvr_code>(scripted_api().plain(ApiCall::Lib_Shutdown));
}

kvr_code kvr_SetClientKey(const char* key) {
  // The key differs between builds, so it stays out of the log.
  return static_cast<kvr_code>(scripted_api().plain(
      ApiCall::SetClientKey, key == nullptr || *key == '\0' ? "key=missing" : "key=given"));
}

kvr_code kvr_ConnectAPI(kvr_ConnectionType* type, std::int32_t setting, const char* client_name,
                        char* firmware_version) {
  return scripted_api().connect(*type, setting, client_name, firmware_version);
}

std::int32_t kvr_CheckConnection() { return scripted_api().plain(ApiCall::CheckConnection); }

const char* kvr_CodeToString(kvr_code code) { return scripted_api().code_to_string(code); }

kvr_code kvr_GetClientAPIInfo(kvr_ClientAPIInfo* info) {
  return scripted_api().get_client_api_info(*info);
}

kvr_code kvr_GetDeviceInfo(kvr_DeviceInfo* info) { return scripted_api().get_device_info(*info); }

kvr_code kvr_GetStatus(kvr_Status* status) { return scripted_api().get_status(*status); }

kvr_code kvr_LockAPI() { return static_cast<kvr_code>(scripted_api().plain(ApiCall::LockAPI)); }

kvr_code kvr_UnlockAPI() { return static_cast<kvr_code>(scripted_api().plain(ApiCall::UnlockAPI)); }

kvr_code kvr_CancelOperation() { return scripted_api().cancel(); }

kvr_code kvr_Test_Ratio_1ph(kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return scripted_api().test(
      ApiCall::Test_Ratio_1ph, *header, bytes_of(*request), *progress, *record,
      [&](const std::string& record_id) { return ratio_1ph_record(record_id, *request); });
}

kvr_code kvr_Test_Ratio_3ph(kvr_TestRequestHeader* header, kvr_Ratio3phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return scripted_api().test(
      ApiCall::Test_Ratio_3ph, *header, bytes_of(*request), *progress, *record,
      [&](const std::string& record_id) { return ratio_3ph_record(record_id, *request); });
}

kvr_code kvr_FreeTestRecord(kvr_TestRecord* record) { return scripted_api().free_record(record); }

kvr_code kvr_CheckRecordExists(const char* record_id, bool* exists) {
  return scripted_api().check_record_exists(record_id, *exists);
}

kvr_code kvr_ReadRecord(const char* record_id, std::int32_t setting, kvr_TestRecord** record) {
  return scripted_api().read_record(record_id, setting, *record);
}

kvr_code kvr_DeleteRecord(const char* record_id) {
  return static_cast<kvr_code>(scripted_api().plain(ApiCall::DeleteRecord, quoted(record_id)));
}

kvr_code kvr_ClearTestDatabase() {
  return static_cast<kvr_code>(scripted_api().plain(ApiCall::ClearTestDatabase));
}

kvr_code kvr_ListRecords(kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                         std::int32_t ascending) {
  return scripted_api().list_records(*list, filter, sort_key, ascending);
}

kvr_code kvr_FreeTestLabelsList(kvr_TestLabelsList* list) { return scripted_api().free_list(list); }

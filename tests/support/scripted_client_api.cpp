#include "support/scripted_client_api.h"

#include <algorithm>
#include <cstring>
#include <thread>

#include "support/filled_field.h"
#include "support/quoted_text.h"

namespace {

constexpr std::chrono::seconds kLongestWaitForCancel{30};

bool is_taken_as_success(std::int32_t result) {
  return result == KVR_RES_OK || result == KVR_RES_CHECK_ERROR_STATUS ||
         result == KVR_RES_PARTIAL_RESULT_CHECK_STATUS;
}

std::string set_or_null(bool is_set) { return is_set ? "set" : "null"; }

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

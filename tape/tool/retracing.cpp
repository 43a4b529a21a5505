#include "tape/tool/retracing.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <thread>

#include "tape/tool/commands.h"
#include "tape/vocabulary/call_fields.h"
#include "tape/vocabulary/call_shapes.h"
#include "tape/vocabulary/differences.h"

namespace tape {
namespace {

using FirmwareText = std::array<char, kFirmwareTextSize>;

/// How long a call waits for what came before it on other threads.
constexpr std::chrono::seconds kLongestWait{5};
/// A callback may come a little after the last call has returned.
constexpr std::chrono::seconds kWaitForCallbacks{2};
constexpr std::chrono::milliseconds kLongestDistance{200};

const Value& at(const Event& event, std::string_view name) {
  static const Value nothing;
  const Value* value = find_field(event.fields, name);
  return value == nullptr ? nothing : *value;
}

bool is_set(const Event& event, std::string_view name) { return at(event, name).number != 0; }

const char* text_at(const Event& event, std::string_view name) {
  const Value& value = at(event, name);
  return value.kind == Value::Kind::kNothing ? nullptr : value.bytes.c_str();
}

/// What stands after the end of the firmware's text is the client's.
Fields without_rests(Fields fields) {
  for (Field& field : fields) {
    if (field.value.layout == kFirmwareText) {
      field.value.bytes.resize(std::min(field.value.bytes.find('\0'), field.value.bytes.size()));
    }
  }
  return fields;
}

/// An output of a call, with room after it that has to stay as it is.
template <class Record>
class Output {
 public:
  Output() { std::memset(after_, kUntouched, sizeof after_); }

  Record record{};

  bool has_changed() const {
    const Record untouched{};
    return std::memcmp(&record, &untouched, sizeof record) != 0;
  }
  bool was_overrun() const {
    return std::any_of(std::begin(after_), std::end(after_),
                       [](unsigned char character) { return character != kUntouched; });
  }

 private:
  static constexpr unsigned char kUntouched = 0xA5;
  unsigned char after_[64];
};

/// A request as a record of its own; null where null was recorded.
template <class Record>
struct Argument {
  explicit Argument(const Value& value) : is_null(value.kind != Value::Kind::kBlock) {
    if (!is_null) {
      std::memcpy(&record, value.bytes.data(), sizeof record);
    }
  }
  Record* pointer() { return is_null ? nullptr : &record; }

  Record record{};
  bool is_null;
};

}  // namespace

Retracing::Retracing(const Tape& tape, const ClientApiTable& calls, const Tolerance& tolerance)
    : tape_(tape), calls_(calls), tolerance_(tolerance), happened_(tape.events.size()) {}

std::vector<std::string> Retracing::run() {
  std::map<int, std::vector<std::size_t>> threads;
  std::map<int, std::vector<std::size_t>> open;  // callbacks that a thread is in
  for (std::size_t i = 0; i < tape_.events.size(); ++i) {
    const Event& event = tape_.events[i];
    if (event.kind == EventKind::kReturn) {
      returns_[event.number] = i;
    } else if (event.kind == EventKind::kCallback) {
      callbacks_.push_back(i);
      open[event.thread].push_back(i);
    } else if (event.kind == EventKind::kEnd) {
      open[event.thread].pop_back();
    } else if (event.kind == EventKind::kCall) {
      auto& inside = open[event.thread];
      (inside.empty() ? threads[event.thread] : within_[inside.back()]).push_back(i);
    }
  }
  std::vector<std::thread> running;
  running.reserve(threads.size());
  for (const auto& [number, lines] : threads) {
    running.emplace_back([this, &lines = lines] { run_thread(lines); });
  }
  for (std::thread& thread : running) {
    thread.join();
  }
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, kWaitForCallbacks, [this] { return callbacks_.empty(); });
  give_up_callbacks(tape_.events.size());
  return found_;
}

void Retracing::give_up_callbacks(std::size_t end) {
  while (!callbacks_.empty() && callbacks_.front() < end) {
    const Event& event = tape_.events[callbacks_.front()];
    found_.push_back("line " + std::to_string(event.line) + ", " + event.name +
                     " callback: it does not come");
    callbacks_.erase(callbacks_.begin());
  }
}

void Retracing::run_thread(const std::vector<std::size_t>& lines) {
  for (const std::size_t line : lines) {
    const Event* answer = answer_to(line);
    if (answer == nullptr) {
      return;  // the recorded process ended within this call
    }
    wait_for_turn(line);
    happened(line);
    compare(*answer, make_call(tape_.events[line]));
    happened(static_cast<std::size_t>(answer - tape_.events.data()));
  }
}

/// A call comes after all calls, answers and callbacks that came before it, and not long before it
/// was due.
void Retracing::wait_for_turn(std::size_t line) {
  std::unique_lock lock(mutex_);
  const bool follows_another_thread =
      line > 0 && tape_.events[line - 1].thread != tape_.events[line].thread;
  changed_.wait_for(lock, kLongestWait, [&] {
    for (std::size_t i = 0; i < line; ++i) {
      const EventKind kind = tape_.events[i].kind;
      if (!happened_[i] && (kind == EventKind::kCall || kind == EventKind::kReturn)) {
        return false;
      }
    }
    return true;
  });
  if (!changed_.wait_for(lock, kWaitForCallbacks,
                         [&] { return callbacks_.empty() || callbacks_.front() > line; })) {
    give_up_callbacks(line);
  }
  lock.unlock();
  if (follows_another_thread) {
    const std::chrono::nanoseconds gap(
        std::max<std::int64_t>(tape_.events[line].time - tape_.events[line - 1].time, 0));
    std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(gap, kLongestDistance));
  }
}

void Retracing::happened(std::size_t line) {
  {
    const std::lock_guard lock(mutex_);
    happened_[line] = true;
  }
  changed_.notify_all();
}

const Event* Retracing::answer_to(std::size_t line) const {
  const auto found = returns_.find(tape_.events[line].number);
  return found == returns_.end() ? nullptr : &tape_.events[found->second];
}

void Retracing::compare(const Event& recorded, const Fields& now) {
  compare(recorded, recorded.fields, now);
}

void Retracing::compare(const Event& recorded, const Fields& before, const Fields& now) {
  const std::lock_guard lock(mutex_);
  for (const Difference& each : differences(without_rests(before), without_rests(now))) {
    if (!tolerance_.allows(recorded.name, each.field)) {
      found_.push_back("line " + std::to_string(recorded.line) + ", " + recorded.name + ", " +
                       each.field + ": recorded " + each.first + ", now " + each.second);
    }
  }
}

Fields Retracing::make_call(const Event& event) {
  const std::string& name = event.name;
  if (name.starts_with("kvr_Test_")) {
    return call_test(event);
  }
  if (name == "kvr_Lib_Initialize" || name == "kvr_Lib_InitializeTestStation") {
    Argument<kvr_InitParams> params(at(event, "params"));
    // A library may keep the pointer.
    auto* kept = params.is_null ? nullptr : new kvr_InitParams(params.record);
    if (kept != nullptr) {
      kept->status_context = this;
      kept->status_callback = kept->status_callback == nullptr ? nullptr : on_status;
    }
    return code_fields(name == "kvr_Lib_Initialize"
                           ? calls_.kvr_Lib_Initialize(kept)
                           : calls_.kvr_Lib_InitializeTestStation(text_at(event, "port"), kept));
  }
  if (name == "kvr_Lib_Shutdown") {
    return code_fields(calls_.kvr_Lib_Shutdown());
  }
  if (name == "kvr_SetClientKey") {
    const char* key = text_at(event, "key");
    return code_fields(
        calls_.kvr_SetClientKey(key != nullptr && *key != '\0' ? KVR_CLIENT_KEY : key));
  }
  if (name == "kvr_CheckConnection") {
    return code_fields(calls_.kvr_CheckConnection());
  }
  if (name == "kvr_CodeToString") {
    return text_fields(calls_.kvr_CodeToString(static_cast<kvr_code>(at(event, "code").number)));
  }
  if (name == "kvr_LockAPI") {
    return code_fields(calls_.kvr_LockAPI());
  }
  if (name == "kvr_UnlockAPI") {
    return code_fields(calls_.kvr_UnlockAPI());
  }
  if (name == "kvr_CancelOperation") {
    return code_fields(calls_.kvr_CancelOperation());
  }
  if (name == "kvr_DeleteRecord") {
    return code_fields(calls_.kvr_DeleteRecord(text_at(event, "record_id")));
  }
  if (name == "kvr_ClearTestDatabase") {
    return code_fields(calls_.kvr_ClearTestDatabase());
  }
  return call_with_output(event);
}

const Value& Retracing::recorded_output(const Event& event, std::string_view name) const {
  const auto answer = returns_.find(event.number);
  return at(tape_.events[answer->second], name);
}

/// What this library hands out takes the name of what was recorded there, so that the tape's frees
/// and references find it. Anything else gets a name that is on no tape.
std::int64_t Retracing::name_of(const void* pointer, const Value& recorded) {
  const std::lock_guard lock(mutex_);
  const auto known = names_.find(pointer);
  if (known != names_.end()) {
    return known->second;
  }
  std::int64_t name = recorded.number;
  if (recorded.kind == Value::Kind::kNothing || held_.contains(name)) {
    name = INT64_MAX - static_cast<std::int64_t>(names_.size());
  }
  names_[pointer] = name;
  held_[name] = const_cast<void*>(pointer);
  return name;
}

/// What an output pointer was before a call that was refused: what it was after it, since it was
/// left alone.
void* Retracing::pointer_before(const Value& recorded) {
  if (recorded.kind == Value::Kind::kNothing || recorded.content != Value::Content::kNone ||
      recorded.has_entries) {
    return nullptr;
  }
  const std::lock_guard lock(mutex_);
  void*& held = held_[recorded.number];
  if (held == nullptr) {
    marks_.push_back(std::make_unique<char>());
    held = marks_.back().get();
    names_[held] = recorded.number;
  }
  return held;
}

Value Retracing::record_output(const Event& event, kvr_code code, kvr_TestRecord* record,
                               bool is_stored) {
  if (record == nullptr) {
    return {};
  }
  const std::int64_t name = name_of(record, recorded_output(event, "record"));
  if (!is_accepted(code)) {
    return record_reference(name);
  }
  Value content = record_content(name, *record, is_stored);
  const std::lock_guard lock(mutex_);
  contents_[record] = {content, is_stored};
  return content;
}

/// What a record held when it was handed out it holds until it is freed.
void Retracing::look_at_again(const Event& event, kvr_TestRecord* record) {
  std::unique_lock lock(mutex_);
  const auto found = contents_.extract(record);
  lock.unlock();
  if (!found.empty()) {
    const auto& [content, is_stored] = found.mapped();
    compare(event, {{"record", content}},
            {{"record", record_content(content.number, *record, is_stored)}});
  }
}

Fields Retracing::call_test(const Event& event) {
  Argument<kvr_TestRequestHeader> header(at(event, "header"));
  Argument<kvr_ProgressHandler> recorded(at(event, "progress"));
  kvr_ProgressHandler handler{recorded.record.progress_callback == nullptr ? nullptr : on_progress,
                              this};
  kvr_ProgressHandler* progress = recorded.is_null ? nullptr : &handler;
  auto* record = static_cast<kvr_TestRecord*>(pointer_before(recorded_output(event, "record")));
  kvr_TestRecord** output = is_set(event, "record") ? &record : nullptr;
  kvr_code code{};
  if (event.name == "kvr_Test_Ratio_1ph") {
    Argument<kvr_Ratio1phRequest> request(at(event, "request"));
    code = calls_.kvr_Test_Ratio_1ph(header.pointer(), request.pointer(), progress, output);
  } else {
    Argument<kvr_Ratio3phRequest> request(at(event, "request"));
    code = calls_.kvr_Test_Ratio_3ph(header.pointer(), request.pointer(), progress, output);
  }
  Fields outputs = code_fields(code);
  outputs.push_back({"record", record_output(event, code, record, false)});
  return outputs;
}

Fields Retracing::call_with_output(const Event& event) {
  const std::string& name = event.name;
  Fields outputs;
  const auto fill = [&](std::string_view field, std::string_view layout, auto output, auto call) {
    const bool wanted = is_set(event, field);
    const kvr_code code = call(wanted ? &output.record : nullptr);
    outputs = code_fields(code);
    const bool written = wanted && (is_accepted(code) || output.has_changed());
    outputs.push_back(
        {std::string(field),
         written ? Value::block(layout, &output.record, sizeof output.record) : Value()});
    if (output.was_overrun()) {
      const std::lock_guard lock(mutex_);
      found_.push_back("line " + std::to_string(event.line) + ", " + name + ", " +
                       std::string(field) + ": the library writes beyond its end");
    }
  };
  if (name == "kvr_ConnectAPI") {
    auto type = static_cast<kvr_ConnectionType>(at(event, "type").number);
    auto* type_or_null = at(event, "type").kind == Value::Kind::kNothing ? nullptr : &type;
    fill("firmware_version", kFirmwareText, Output<FirmwareText>(), [&](FirmwareText* output) {
      return calls_.kvr_ConnectAPI(
          type_or_null, static_cast<std::int32_t>(at(event, "setting").number),
          text_at(event, "client_name"), output == nullptr ? nullptr : output->data());
    });
  } else if (name == "kvr_GetClientAPIInfo") {
    fill("info", "kvr_ClientAPIInfo", Output<kvr_ClientAPIInfo>(), calls_.kvr_GetClientAPIInfo);
  } else if (name == "kvr_GetDeviceInfo") {
    fill("info", "kvr_DeviceInfo", Output<kvr_DeviceInfo>(), calls_.kvr_GetDeviceInfo);
  } else if (name == "kvr_GetStatus") {
    fill("status", "kvr_Status", Output<kvr_Status>(), calls_.kvr_GetStatus);
  } else {
    return call_with_record(event);
  }
  return outputs;
}

Fields Retracing::call_with_record(const Event& event) {
  const std::string& name = event.name;
  Fields outputs;
  if (name == "kvr_CheckRecordExists") {
    bool exists = false;
    const bool wanted = is_set(event, "exists");
    const kvr_code code =
        calls_.kvr_CheckRecordExists(text_at(event, "record_id"), wanted ? &exists : nullptr);
    outputs = code_fields(code);
    outputs.push_back(
        {"exists", wanted && (is_accepted(code) || exists) ? Value::of(exists) : Value()});
  } else if (name == "kvr_ReadRecord") {
    auto* record = static_cast<kvr_TestRecord*>(pointer_before(recorded_output(event, "record")));
    const kvr_code code = calls_.kvr_ReadRecord(
        text_at(event, "record_id"), static_cast<std::int32_t>(at(event, "setting").number),
        is_set(event, "record") ? &record : nullptr);
    outputs = code_fields(code);
    outputs.push_back({"record", record_output(event, code, record, true)});
  } else if (name == "kvr_ListRecords") {
    const Value& recorded = recorded_output(event, "list");
    auto* list = static_cast<kvr_TestLabelsList*>(pointer_before(recorded));
    const kvr_code code =
        calls_.kvr_ListRecords(is_set(event, "list") ? &list : nullptr, nullptr,
                               static_cast<std::int32_t>(at(event, "sort_key").number),
                               static_cast<std::int32_t>(at(event, "ascending").number));
    outputs = code_fields(code);
    Value value;
    if (list != nullptr) {
      const std::int64_t named = name_of(list, recorded);
      value = is_accepted(code) ? list_content(named, *list) : list_reference(named);
    }
    outputs.push_back({"list", std::move(value)});
  } else {
    free_held(event, outputs);
  }
  return outputs;
}

void Retracing::free_held(const Event& event, Fields& outputs) {
  const bool of_list = event.name == "kvr_FreeTestLabelsList";
  const std::int64_t name = at(event, of_list ? "list" : "record").number;
  void* held = nullptr;
  {
    const std::lock_guard lock(mutex_);
    held = name < 0 || at(event, of_list ? "list" : "record").kind == Value::Kind::kNothing
               ? nullptr
               : std::exchange(held_[name], nullptr);
    held_.erase(name);
    names_.erase(held);
  }
  if (!of_list) {
    look_at_again(event, static_cast<kvr_TestRecord*>(held));
  }
  outputs =
      code_fields(of_list ? calls_.kvr_FreeTestLabelsList(static_cast<kvr_TestLabelsList*>(held))
                          : calls_.kvr_FreeTestRecord(static_cast<kvr_TestRecord*>(held)));
}

/// Takes the next recorded callback of that name, compares it, and makes the calls within it.
void Retracing::on_callback(const std::string& name, const Fields& fields) {
  std::size_t line = 0;
  {
    const std::lock_guard lock(mutex_);
    const auto next = std::find_if(callbacks_.begin(), callbacks_.end(), [&](std::size_t each) {
      return tape_.events[each].name == name;
    });
    if (next == callbacks_.end()) {
      found_.push_back("the " + name + ": it was not recorded");
      return;
    }
    line = *next;
    callbacks_.erase(next);
  }
  compare(tape_.events[line], fields);
  changed_.notify_all();
  for (const std::size_t call : within_[line]) {
    if (const Event* answer = answer_to(call)) {
      happened(call);
      compare(*answer, make_call(tape_.events[call]));
      happened(static_cast<std::size_t>(answer - tape_.events.data()));
    }
  }
  changed_.notify_all();
}

void Retracing::on_status(void* context, kvr_code code, const char* text) {
  static_cast<Retracing*>(context)->on_callback("status", status_callback_fields(code, text));
}

void Retracing::on_progress(void* context, const kvr_Progress* progress) {
  static_cast<Retracing*>(context)->on_callback("progress", progress_callback_fields(progress));
}

}  // namespace tape

#include "plan/json_lines.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <concepts>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "common/clock.h"
#include "common/field_text.h"
#include "console/session.h"
#include "flows/run_files.h"
#include "plan/record_fields.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr int kDeepestStep = 30;  // a record that is nested deeper has no stored form either

Json json_of(double value) {
  if (std::isnan(value)) {
    return "NaN";
  }
  if (std::isinf(value)) {
    return value > 0 ? "Infinity" : "-Infinity";
  }
  return value;
}

/// The double with the fewest digits that means the same float.
Json json_of(float value) {
  std::array<char, 32> text{};
  const char* const end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  double same = value;
  if (std::isfinite(value)) {
    std::from_chars(text.data(), end, same);
  }
  return json_of(same);
}

Json json_of(kvr_code code) {
  Json json{{"number", static_cast<std::int32_t>(code)}};
  const std::string_view name = CodeToText(code);
  json["name"] = name.starts_with("KVR_") ? Json(std::string(name)) : Json(nullptr);
  return json;
}

/// Adds the fields of a record to a JSON object.
class Fields {
 public:
  Fields(Json& json, int depth) : json_(json), depth_(depth) {}

  template <class Field>
  void operator()(const char* name, const Field& field) {
    json_[name] = shown(field);
  }

 private:
  template <class Field>
  Json shown(const Field& field) {
    if constexpr (std::is_array_v<Field>) {
      return shown_array(field);
    } else if constexpr (std::is_pointer_v<Field>) {
      // A nested result; null where there is none.
      return field == nullptr || depth_ == kDeepestStep ? Json(nullptr) : shown(*field);
    } else if constexpr (std::same_as<Field, kvr_code> || std::floating_point<Field>) {
      return json_of(field);
    } else if constexpr (std::is_enum_v<Field>) {
      return static_cast<std::underlying_type_t<Field>>(field);
    } else if constexpr (std::is_arithmetic_v<Field>) {
      return field;
    } else {
      Json json = Json::object();
      Fields inner(json, depth_ + 1);
      for_each_field(field, inner);
      return json;
    }
  }
  template <std::size_t size>
  Json shown_array(const char (&text)[size]) {
    return std::string(field_text(text));
  }
  template <class Record, std::size_t size>
  Json shown_array(const Record (&records)[size]) {
    Json list = Json::array();
    for (const Record& record : records) {
      list.push_back(shown(record));
    }
    return list;
  }

  Json& json_;
  int depth_;
};

template <class Result>
Json results_of(Result* const* results, std::uint32_t count) {
  Json list = Json::array();
  for (std::uint32_t i = 0; results != nullptr && i < count; ++i) {
    if (results[i] != nullptr) {
      Json json = Json::object();
      Fields fields(json, 0);
      for_each_field(*results[i], fields);
      list.push_back(std::move(json));
    }
  }
  return list;
}

Json json_of(const kvr_TestRecord& record) {
  Json json = Json::object();
  Fields fields(json, 0);
  for_each_field(record, fields);
  json["ratio_1ph"] = results_of(record.data_ratio_1ph, record.data_count);
  json["ratio_3ph"] = results_of(record.data_ratio_3ph, record.data_count);
  return json;
}

Json json_of(const Check& check) {
  return {{"quantity", check.quantity},    {"phase", check.phase},
          {"value", json_of(check.value)}, {"low", json_of(check.low)},
          {"high", json_of(check.high)},   {"holds", check.holds()}};
}

Json line_of(const char* what) { return {{"line", what}, {"schema", kJsonSchema}}; }

/// In UTC. Not by the C library, which keeps one calendar for all threads: events come on others.
/// Not program_clock.now(): to look at that one may change it.
std::string now() {
  using std::chrono::floor;
  const auto time = floor<std::chrono::seconds>(program_clock.precise_now());
  const auto midnight = floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(midnight);
  const std::chrono::hh_mm_ss clock(time - midnight);
  std::array<char, 40> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

/// Bytes that are no UTF-8 become U+FFFD.
std::string text_of(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string record_json(const kvr_TestRecord& record) { return text_of(json_of(record)); }

void JsonLines::plan(const Plan& plan, const char* program_version) {
  Json json = line_of("plan");
  json["program"] = "tester-run";
  json["version"] = program_version;
  json["time"] = now();
  json["plan"] = plan.file;
  json["item"] = Json::object();
  for (const auto& [name, text] : plan.item) {
    json["item"][name] = text;
  }
  json["tests"] = Json::array();
  for (const PlannedTest& test : plan.tests) {
    Json shown{{"name", test.name}};
    shown["kind"] = test.three_phase ? "three-phase" : "single-phase";
    shown["measurements"] = test.voltages.size();
    json["tests"].push_back(shown);
  }
  write(text_of(json));
}

void JsonLines::instrument() {
  Json json = line_of("instrument");
  json["serial_number"] = device_serial;
  json["hardware_version"] = std::string(field_text(device_info.hardware_version));
  json["software_version"] = device_software_version;
  json["firmware_version"] = std::string(field_text(device_info.firmware_version));
  json["client_library_version"] = client_version;
  json["instrument_type"] = device_info.instrument_type;
  json["model_tier"] = device_info.model_tier;
  json["calibrated"] = device_info.calibrated != 0;
  json["calibration_old"] = device_info.calibration_old != 0;
  json["calibration_date"] = device_info.calibration_date;
  write(text_of(json));
}

void JsonLines::measurement(const Measurement& measurement, const PlannedTest& test,
                            const kvr_TestRecord* record) {
  Json json = line_of("measurement");
  json["time"] = now();
  json["test"] = measurement.test;
  json["name"] = test.name;
  json["number"] = measurement.number;
  json["of"] = test.voltages.size();
  json["voltage"] = json_of(measurement.voltage);
  json["seconds"] = measurement.seconds;
  json["code"] = json_of(measurement.code);
  json["words"] = measurement.words;
  json["verdict"] = name_of(measurement.judgement.verdict);
  json["checks"] = Json::array();
  for (const Check& check : measurement.judgement.checks) {
    json["checks"].push_back(json_of(check));
  }
  json["record"] = record == nullptr ? Json(nullptr) : json_of(*record);
  write(text_of(json));
}

void JsonLines::files(std::size_t test, const RunFiles& files) {
  Json json = line_of("files");
  json["test"] = test;
  json["run_file"] = files.name.empty() ? Json(nullptr) : Json(files.name);
  json["raw_file"] = files.has_raw_file ? Json(raw_file_name(files.name)) : Json(nullptr);
  json["complete"] = files.are_complete;
  write(text_of(json));
}

void JsonLines::event(kvr_code code, const std::string& words, const char* text) {
  Json json = line_of("event");
  json["time"] = now();
  json["code"] = json_of(code);
  json["words"] = words;
  json["text"] = text == nullptr ? Json(nullptr) : Json(text);
  write(text_of(json));
}

void JsonLines::end(const PlanEnd& end) {
  Json json = line_of("end");
  json["time"] = now();
  json["verdict"] = name_of(end.verdict);
  json["exit_status"] = end.exit_status;
  json["measured"] = end.measured;
  json["planned"] = end.planned;
  json["why"] = end.why.empty() ? Json(nullptr) : Json(end.why);
  write(text_of(json));
  const std::lock_guard lock(mutex_);
  ended_ = true;
}

bool JsonLines::are_written() const {
  const std::lock_guard lock(mutex_);
  return written_;
}

void JsonLines::write(const std::string& line) {
  const std::lock_guard lock(mutex_);
  if (ended_) {
    return;
  }
  out_ << line << '\n' << std::flush;
  written_ = written_ && out_.good();
}

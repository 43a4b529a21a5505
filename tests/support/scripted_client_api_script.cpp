#include "support/scripted_client_api_script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <utility>

#include "support/record_text.h"

namespace {

/// The fault of a word; load_script adds file and line in front.
class BadWord : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string in_quotes(std::string_view word) { return "'" + std::string(word) + "'"; }

// Words: text between blanks, with quoted texts kept whole.

bool is_blank(char letter) { return letter == ' ' || letter == '\t' || letter == '\r'; }

void skip_blanks(std::string_view& rest) {
  while (!rest.empty() && is_blank(rest.front())) {
    rest.remove_prefix(1);
  }
}

/// Length of the text in quotes that `rest` begins with, quotes included.
std::size_t quoted_length(std::string_view rest) {
  for (std::size_t at = 1; at < rest.size(); ++at) {
    if (rest[at] == '\\') {
      ++at;
    } else if (rest[at] == '"') {
      return at + 1;
    }
  }
  throw BadWord("a text without its closing quote");
}

std::string_view take(std::string_view& rest, std::size_t length) {
  const std::string_view taken = rest.substr(0, length);
  rest.remove_prefix(taken.size());
  return taken;
}

/// Removes the next word from the front of `rest` and returns it; empty at the end of the line.
std::string_view take_word(std::string_view& rest) {
  skip_blanks(rest);
  if (rest.starts_with('#')) {
    rest = {};
  }
  std::size_t length = 0;
  while (length < rest.size() && !is_blank(rest[length])) {
    length += rest[length] == '"' ? quoted_length(rest.substr(length)) : 1;
  }
  return take(rest, length);
}

// Values

std::int64_t number_of(std::string_view word) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size()) {
    throw BadWord(in_quotes(word) + " is no number");
  }
  return number;
}

std::int32_t code_of(std::string_view word) {
  static const std::map<std::string_view, std::int32_t> codes = {
#define KVR_CODE_BY_NAME(number, name) {#name, number},
      KVR_CODE_LIST(KVR_CODE_BY_NAME)
#undef KVR_CODE_BY_NAME
  };
  const auto found = codes.find(word);
  return found != codes.end() ? found->second : static_cast<std::int32_t>(number_of(word));
}

std::chrono::milliseconds milliseconds_of(std::string_view word) {
  if (!word.ends_with("ms")) {
    throw BadWord(in_quotes(word) + " is no time such as 200ms");
  }
  return std::chrono::milliseconds(number_of(word.substr(0, word.size() - 2)));
}

unsigned hexadecimal_digit(char letter) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t value = kDigits.find(letter);
  if (value == std::string_view::npos) {
    throw BadWord("\\x wants two digits of 0-9a-f");
  }
  return static_cast<unsigned>(value);
}

/// Removes one escape, its backslash already gone, from the front of `rest`; returns its character.
char take_escaped(std::string_view& rest) {
  const char letter = take(rest, 1).front();
  switch (letter) {
    case 'n':
      return '\n';
    case 't':
      return '\t';
    case '"':
    case '\\':
      return letter;
    case 'x':
      if (rest.size() >= 2) {
        const unsigned high = hexadecimal_digit(take(rest, 1).front());
        return static_cast<char>(high * 16 + hexadecimal_digit(take(rest, 1).front()));
      }
      [[fallthrough]];
    default:
      throw BadWord(std::string("unknown escape \\") + letter);
  }
}

std::string text_of(std::string_view word) {
  if (!word.starts_with('"') || quoted_length(word) != word.size()) {
    throw BadWord(in_quotes(word) + " is no text in quotes");
  }
  std::string text;
  for (std::string_view rest = word.substr(1, word.size() - 2); !rest.empty();) {
    const char letter = take(rest, 1).front();
    text += letter == '\\' ? take_escaped(rest) : letter;
  }
  return text;
}

/// 83, 83:"text", either with @200ms after it.
ScriptedStatusEvent status_of(std::string_view word) {
  ScriptedStatusEvent event;
  const std::size_t code_length = std::min(word.find_first_of(":@"), word.size());
  event.code = static_cast<kvr_code>(code_of(take(word, code_length)));
  if (word.starts_with(":\"")) {
    word.remove_prefix(1);
    event.text = text_of(take(word, quoted_length(word)));
  }
  if (word.starts_with('@')) {
    event.after_return = milliseconds_of(word.substr(1));
    word = {};
  }
  if (!word.empty()) {
    throw BadWord("status is CODE, CODE:\"text\" or either with @TIME");
  }
  return event;
}

/// 1/3,2/3,3/3
std::vector<kvr_Progress> progress_of(std::string_view word) {
  std::vector<kvr_Progress> steps;
  while (!word.empty()) {
    std::string_view step = take(word, std::min(word.find(','), word.size()));
    take(word, 1);
    const std::string_view current = take(step, std::min(step.find('/'), step.size()));
    take(step, 1);
    steps.push_back({static_cast<std::int32_t>(number_of(current)),
                     static_cast<std::int32_t>(number_of(step))});
  }
  return steps;
}

// Records of a session, field by field

template <class Record>
using Setter = std::function<void(Record&, std::string_view word)>;

template <class Record>
using Setters = std::map<std::string_view, Setter<Record>>;

template <class Record, class Number>
Setter<Record> sets(Number Record::*field) {
  return [field](Record& record, std::string_view word) {
    record.*field = static_cast<Number>(code_of(word));
  };
}

template <class Record>
Setter<Record> sets(std::int64_t Record::*field) {
  return [field](Record& record, std::string_view word) { record.*field = number_of(word); };
}

/// A text without its terminator may fill the whole field: a library may do that.
void fill_field(char* field, std::size_t size, const std::string& text) {
  if (text.size() > size) {
    throw BadWord("longer than the " + std::to_string(size) + " bytes of the field");
  }
  std::fill(std::copy(text.begin(), text.end(), field), field + size, '\0');
}

template <class Record, std::size_t size>
Setter<Record> sets(char (Record::*field)[size]) {
  return [field](Record& record, std::string_view word) {
    fill_field(record.*field, size, text_of(word));
  };
}

const Setters<kvr_DeviceInfo>& device_info_setters() {
  static const Setters<kvr_DeviceInfo> setters = {
      {"instrument_type", sets(&kvr_DeviceInfo::instrument_type)},
      {"serial_number", sets(&kvr_DeviceInfo::serial_number)},
      {"hardware_version", sets(&kvr_DeviceInfo::hardware_version)},
      {"software_version", sets(&kvr_DeviceInfo::software_version)},
      {"firmware_version", sets(&kvr_DeviceInfo::firmware_version)},
      {"debug_mode", sets(&kvr_DeviceInfo::debug_mode)},
      {"device_date_time", sets(&kvr_DeviceInfo::device_date_time)},
      {"calibrated", sets(&kvr_DeviceInfo::calibrated)},
      {"calibration_old", sets(&kvr_DeviceInfo::calibration_old)},
      {"calibration_date", sets(&kvr_DeviceInfo::calibration_date)},
      {"model_tier", sets(&kvr_DeviceInfo::model_tier)},
  };
  return setters;
}

const Setters<kvr_Status>& status_setters() {
  static const Setters<kvr_Status> setters = {
      {"device_status_code", sets(&kvr_Status::device_status_code)},
      {"api_locked", sets(&kvr_Status::api_locked)},
      {"database_loaded", sets(&kvr_Status::database_loaded)},
      {"measurement_board_connected", sets(&kvr_Status::measurement_board_connected)},
      {"emergency_button_pressed", sets(&kvr_Status::emergency_button_pressed)},
      {"secondary_sd_mounted", sets(&kvr_Status::secondary_sd_mounted)},
      {"secondary_sd_read_only", sets(&kvr_Status::secondary_sd_read_only)},
      {"primary_sd_error", sets(&kvr_Status::primary_sd_error)},
      {"secondary_sd_error", sets(&kvr_Status::secondary_sd_error)},
  };
  return setters;
}

// Answers

bool is_test(ApiCall call) {
  return call == ApiCall::Test_Ratio_1ph || call == ApiCall::Test_Ratio_3ph;
}

/// Answers are read before the records below them are known, so they hold the names of their
/// records until the end of the script.
struct PlannedAnswer {
  ApiCall call{};
  bool always = false;
  ScriptedAnswer answer;
  std::string record_name;
  std::vector<std::string> listed_names;
  std::size_t line = 0;
};

std::vector<std::string> names_of(std::string_view word) {
  std::vector<std::string> names;
  while (!word.empty()) {
    names.emplace_back(take(word, std::min(word.find(','), word.size())));
    take(word, 1);
  }
  return names;
}

bool set_status(PlannedAnswer& planned, std::string_view key, std::string_view word) {
  if (key == "status") {
    planned.answer.status.push_back(status_of(word));
  } else if (key == "delay") {
    planned.answer.delay = milliseconds_of(word);
  } else {
    return false;
  }
  return true;
}

template <class Record>
bool set_field(std::optional<Record>& record, const Record& ordinary,
               const Setters<Record>& setters, std::string_view key, std::string_view word) {
  const auto found = setters.find(key);
  if (found == setters.end()) {
    return false;
  }
  if (!record) {
    record = ordinary;
  }
  found->second(*record, word);
  return true;
}

bool set_record(PlannedAnswer& planned, std::string_view key, std::string_view word) {
  ScriptedAnswer& answer = planned.answer;
  if (key == "record" && word == "null") {
    answer.null = true;
  } else if (key == "record") {
    planned.record_name = word;
  } else if (key == "record_id") {
    std::array<char, sizeof(kvr_TestRecord::record_id)> id;
    fill_field(id.data(), id.size(), text_of(word));
    answer.alterations.push_back(
        [id](kvr_TestRecord& record) { std::copy(id.begin(), id.end(), record.record_id); });
  } else if (key == "raw") {
    // The text lives in the alteration, which lives as long as the answer's copies.
    std::shared_ptr<const std::string> raw;
    if (word != "null") {
      raw = std::make_shared<const std::string>(text_of(word));
    }
    answer.alterations.push_back(
        [raw](kvr_TestRecord& record) { record.raw_data = raw ? raw->c_str() : nullptr; });
  } else if (is_test(planned.call) && key == "progress") {
    answer.progress = progress_of(word);
  } else if (is_test(planned.call) && key == "until_cancelled" && word.empty()) {
    answer.until_cancelled = true;
  } else {
    return false;
  }
  return true;
}

bool set_filling(PlannedAnswer& planned, std::string_view key, std::string_view word) {
  ScriptedAnswer& answer = planned.answer;
  switch (planned.call) {
    case ApiCall::ConnectAPI:
    case ApiCall::GetClientAPIInfo:
      if (key != (planned.call == ApiCall::ConnectAPI ? "firmware" : "version")) {
        return false;
      }
      answer.text = text_of(word);
      return true;
    case ApiCall::GetDeviceInfo:
      return set_field(answer.device_info, default_device_info(), device_info_setters(), key, word);
    case ApiCall::GetStatus:
      return set_field(answer.device_status, healthy_status(), status_setters(), key, word);
    case ApiCall::CheckRecordExists:
      if (key != "exists") {
        return false;
      }
      answer.exists = number_of(word) != 0;
      return true;
    case ApiCall::Test_Ratio_1ph:
    case ApiCall::Test_Ratio_3ph:
    case ApiCall::ReadRecord:
      return set_record(planned, key, word);
    case ApiCall::ListRecords:
      if (key != "records") {
        return false;
      }
      planned.listed_names = names_of(word);
      return true;
    default:
      return false;
  }
}

/// KEY=VALUE or KEY
void apply(PlannedAnswer& planned, std::string_view word) {
  const std::size_t sign = std::min(word.find('='), word.size());
  const std::string_view key = word.substr(0, sign);
  const std::string_view value = word.substr(std::min(sign + 1, word.size()));
  if (!set_status(planned, key, value) && !set_filling(planned, key, value)) {
    throw BadWord(in_quotes(word) + " is nothing that " + std::string(name_of(planned.call)) +
                  " can do");
  }
}

ApiCall call_of(std::string_view word) {
  const std::string_view name = word.substr(0, word.find(':'));
  const auto found = std::find(std::begin(kApiCallNames), std::end(kApiCallNames), name);
  if (found == std::end(kApiCallNames) || name.size() + 1 != word.size()) {
    throw BadWord(in_quotes(word) + " is no call followed by ':'");
  }
  return static_cast<ApiCall>(found - std::begin(kApiCallNames));
}

/// always CALL: RESULT KEY=VALUE ...
PlannedAnswer answer_of(std::string_view line) {
  PlannedAnswer planned;
  std::string_view word = take_word(line);
  if (word == "always") {
    planned.always = true;
    word = take_word(line);
  }
  planned.call = call_of(word);
  const std::string_view result = take_word(line);
  if (planned.call != ApiCall::CodeToString) {
    planned.answer.result = code_of(result);
  } else if (result == "null") {
    planned.answer.null = true;
  } else {
    planned.answer.text = text_of(result);
  }
  for (word = take_word(line); !word.empty(); word = take_word(line)) {
    apply(planned, word);
  }
  return planned;
}

// Records of tests

/// The text of a record, after as many empty lines as the script has lines above it, so that error
/// messages name the script's lines.
struct RecordText {
  std::string text;
  std::string script;
};

std::shared_ptr<kvr_TestRecord> make_record(const RecordText& source) {
  auto owned = std::make_shared<OwnedRecord>(parse_record(source.text, source.script));
  kvr_TestRecord* record = owned->get();
  return {std::move(owned), record};
}

/// How a record shows in the list of stored ones: by its head.
kvr_TestLabel label_of(const RecordText& source) {
  kvr_TestLabel label;
  std::memcpy(&label, make_record(source).get(), sizeof(label));
  return label;
}

}  // namespace

void load_script(std::istream& script, const std::string& name, ScriptedClientApi& api) {
  std::vector<PlannedAnswer> plan;
  std::map<std::string, RecordText, std::less<>> records;
  RecordText* open_record = nullptr;

  std::string line;
  std::size_t number = 0;
  const auto fail = [&](std::size_t at, const std::string& message) {
    throw ScriptError(name + ":" + std::to_string(at) + ": " + message);
  };
  while (std::getline(script, line)) {
    ++number;
    if (open_record != nullptr && (line.empty() || is_blank(line.front()) || line[0] == '#')) {
      open_record->text += line + "\n";  // in the notation of records
      continue;
    }
    try {
      std::string_view rest = line;
      const std::string_view first = take_word(rest);
      if (first.empty()) {
        continue;
      }
      if (is_blank(line.front())) {
        throw BadWord("an indented line belongs to a record");
      }
      open_record = nullptr;
      if (first == "record") {
        const std::string record_name(take_word(rest));
        if (record_name.empty() || record_name == "null" || records.contains(record_name)) {
          throw BadWord("a record wants a name of its own");
        }
        open_record = &records[record_name];
        *open_record = {std::string(number, '\n'), name};
        continue;
      }
      plan.push_back(answer_of(line));
      plan.back().line = number;
    } catch (const BadWord& error) {
      fail(number, error.what());
    }
  }

  for (const auto& [record_name, source] : records) {
    make_record(source);  // throws now if it has a fault
  }
  const auto find_record = [&](const std::string& record_name, std::size_t at) {
    const auto found = records.find(record_name);
    if (found == records.end()) {
      fail(at, "no record " + in_quotes(record_name));
    }
    return found->second;
  };
  for (PlannedAnswer& planned : plan) {
    if (!planned.record_name.empty()) {
      planned.answer.record = [source = find_record(planned.record_name, planned.line)] {
        return make_record(source);
      };
    }
    if (!planned.listed_names.empty()) {
      planned.answer.labels.emplace();
    }
    for (const std::string& listed : planned.listed_names) {
      planned.answer.labels->push_back(label_of(find_record(listed, planned.line)));
    }
    if (planned.always) {
      api.answer_always(planned.call, std::move(planned.answer));
    } else {
      api.answer(planned.call, std::move(planned.answer));
    }
  }
}

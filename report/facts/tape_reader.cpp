#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>

#include "api/client_api.h"
#include "api/codes.h"
#include "common/field_text.h"
#include "report/facts/facts.h"
#include "report/facts/library_facts.h"
#include "tape/format/reader.h"
#include "tape/vocabulary/call_shapes.h"
#include "tape/vocabulary/layouts.h"
#include "tape/vocabulary/record_values.h"

namespace report {
namespace {

/// A record of a successful call; null where the bytes are not of that size.
template <typename Block>
std::optional<Block> block_in(const tape::Event& event, std::string_view field) {
  const tape::Value* const value = tape::find_field(event.fields, field);
  if (value == nullptr || value->bytes.size() != sizeof(Block)) {
    return std::nullopt;
  }
  Block block;
  std::memcpy(&block, value->bytes.data(), sizeof block);
  return block;
}

/// What a tape holds, line by line. The tests of a run, all those between locking the API and
/// unlocking it, are one record, as they are one file.
class TapeFacts {
 public:
  explicit TapeFacts(std::string name) : name_(std::move(name)) {}

  void add(const tape::Event& event) {
    if (event.kind == tape::EventKind::kFull) {
      facts.remarks.push_back(name_ + " ends before the session did: " + event.name + ".");
    }
    if (event.kind != tape::EventKind::kReturn) {
      return;
    }
    if (event.name == "kvr_GetDeviceInfo") {
      add_device(event);
    } else if (event.name == "kvr_GetClientAPIInfo") {
      add_client(event);
    } else if (event.name == "kvr_LockAPI" || event.name == "kvr_UnlockAPI") {
      end_run();
    } else if (event.name == "kvr_Test_Ratio_1ph" || event.name == "kvr_Test_Ratio_3ph") {
      add_test(event);
    } else if (event.name == "kvr_ReadRecord") {
      if (RecordNest record = record_in(event)) {
        add_record(std::move(record));
      }
    }
  }

  void end_run() {
    if (!run_.empty()) {
      add_record(joined_run(std::move(run_)));
      run_.clear();
    }
  }

  Facts facts;

 private:
  static std::int64_t code_of(const tape::Event& event) {
    const tape::Value* const code = tape::find_field(event.fields, "code");
    return code == nullptr ? std::int64_t{KVR_RES_OK} : code->number;
  }

  void remark(const tape::Event& event, const std::string& what) {
    facts.remarks.push_back(name_ + ", line " + std::to_string(event.line) + ": " + what + ".");
  }

  void add_device(const tape::Event& event) {
    const auto device = block_in<kvr_DeviceInfo>(event, "info");
    if (!device || code_of(event) != KVR_RES_OK) {
      return;
    }
    Instrument found = instrument_of(*device);
    if (!has_device_) {
      has_device_ = true;
      found.client_version = facts.instrument.client_version;
      facts.instrument = std::move(found);
      for (std::string& each : calibration_remarks(*device)) {
        facts.remarks.push_back(std::move(each));
      }
    } else if (found.serial_number != facts.instrument.serial_number) {
      remark(event,
             "another instrument, " + found.serial_number.value_or("without a serial number"));
    }
  }

  void add_client(const tape::Event& event) {
    const auto client = block_in<kvr_ClientAPIInfo>(event, "info");
    if (client && code_of(event) == KVR_RES_OK && *client->version != '\0') {
      facts.instrument.client_version = field_text(client->version);
    }
  }

  /// What a call gave the client; null for nothing that it went on with.
  RecordNest record_in(const tape::Event& event) {
    const std::int64_t code = code_of(event);
    if (code != KVR_RES_OK) {
      remark(event, event.name + " returned " +
                        std::string(CodeToText(static_cast<kvr_code>(code))) +
                        (tape::is_accepted(code) ? ", with the results shown here" : ""));
    }
    const tape::Value* const value = tape::find_field(event.fields, "record");
    if (value == nullptr || value->kind != tape::Value::Kind::kRecord || !tape::is_accepted(code)) {
      return nullptr;
    }
    RecordNest record = tape::kept_record(*value);
    if (record == nullptr || value->content == tape::Value::Content::kHead) {
      remark(event, "a record of which the tape keeps no results is left out");
      return nullptr;
    }
    return record;
  }

  void add_test(const tape::Event& event) {
    RecordNest record = record_in(event);
    if (record == nullptr) {
      return;
    }
    if (!run_.empty() && (family_of(*run_.front()) != family_of(*record) ||
                          field_text(run_.front()->record_id) != field_text(record->record_id))) {
      end_run();
    }
    run_.push_back(std::move(record));
  }

  /// A record is read back after its tests, so of two with one ID the one with more tests stays.
  void add_record(RecordNest record) {
    const std::string_view id = field_text(record->record_id);
    const auto known =
        std::find_if(facts.records.begin(), facts.records.end(),
                     [&id](const Record& each) { return field_text(each.nest->record_id) == id; });
    if (id.empty() || known == facts.records.end()) {
      facts.records.push_back({std::move(record), Origin::kTape, name_, {}, true});
    } else if (record->data_count > known->nest->data_count) {
      known->nest = std::move(record);
    }
  }

  std::string name_;
  std::vector<RecordNest> run_;
  bool has_device_ = false;
};

std::string fingerprint() {
  char digits[16];
  const auto end =
      std::to_chars(std::begin(digits), std::end(digits), tape::layouts_fingerprint(), 16);
  return {digits, end.ptr};
}

tape::Tape parsed(std::string_view bytes, const std::string& name) {
  try {
    return tape::parse_tape(bytes);
  } catch (const tape::TapeError& error) {
    throw ReadFailure(name + ": " + error.what());
  }
}

/// Throws ReadFailure for an ID that is not there.
void keep_only(std::vector<Record>& records, const std::vector<std::string>& only,
               const std::string& name) {
  if (only.empty()) {
    return;
  }
  const auto has = [&records](const std::string& id) {
    return std::any_of(records.begin(), records.end(), [&id](const Record& record) {
      return field_text(record.nest->record_id) == id;
    });
  };
  const auto missing = std::find_if_not(only.begin(), only.end(), has);
  if (missing != only.end()) {
    throw ReadFailure(name + ": has no record " + *missing);
  }
  std::erase_if(records, [&only](const Record& record) {
    return std::find(only.begin(), only.end(), field_text(record.nest->record_id)) == only.end();
  });
}

}  // namespace

Facts read_tape(const std::filesystem::path& path, const std::vector<std::string>& only) {
  const std::string name = name_of(path);
  const std::string bytes = read_bytes(path);
  const tape::Tape tape = parsed(bytes, name);
  if (tape.header.layouts != fingerprint()) {
    throw ReadFailure(name + ": recorded with other layouts of records");
  }
  TapeFacts reading(name);
  reading.facts.files.push_back(source_file(path, bytes));
  for (const tape::Event& event : tape.events) {
    reading.add(event);
  }
  reading.end_run();
  for (const std::string& notice : tape.notices) {
    reading.facts.remarks.push_back(name);
    reading.facts.remarks.back().append(", ").append(notice).append(".");
  }
  if (reading.facts.records.empty()) {
    throw ReadFailure(name + ": has no results");
  }
  keep_only(reading.facts.records, only, name);
  return std::move(reading.facts);
}

}  // namespace report

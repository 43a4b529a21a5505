#include "tape/vocabulary/record_values.h"

#include <cstring>
#include <span>

#include "record_form/record_codec.h"
#include "record_form/record_shape.h"

namespace tape {
namespace {

RecordNest without_raw_data(const Value& value) {
  const auto bytes = std::as_bytes(std::span(value.bytes));
  switch (value.content) {
    case Value::Content::kForm:
      return decode_record(bytes);
    case Value::Content::kBlocks:
      return decode_plain_record(bytes);
    case Value::Content::kHead: {
      RecordNest record(new kvr_TestRecord{});
      std::memcpy(record.get(), value.bytes.data(), sizeof *record);
      clear_links(*record);
      return record;
    }
    case Value::Content::kNone:
      break;
  }
  return nullptr;
}

}  // namespace

RecordNest kept_record(const Value& value) {
  RecordNest record = without_raw_data(value);
  if (record != nullptr && value.raw && record->raw_data == nullptr) {
    record->raw_data = new_text(*value.raw);
  }
  return record;
}

}  // namespace tape

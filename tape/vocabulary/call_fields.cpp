#include "tape/vocabulary/call_fields.h"

#include <cstring>
#include <vector>

#include "record_form/record_codec.h"
#include "record_form/record_shape.h"

namespace tape {
namespace {

template <class Record>
Value block_of(std::string_view name, const Record* record) {
  return Value::block(name, record, sizeof(Record));
}

/// More than any record holds: a count above it is taken for a damaged one.
constexpr std::uint32_t kMostTests = 65536;

Value set_or_null(const void* pointer) { return Value::of(pointer == nullptr ? 0 : 1); }

/// The record without its addresses: each pointer becomes 0 or 1.
Value params_block(const kvr_InitParams* params) {
  if (params == nullptr) {
    return {};
  }
  kvr_InitParams copy;
  std::memcpy(&copy, params, sizeof copy);
  const std::uint64_t set[] = {copy.status_callback != nullptr, copy.status_context != nullptr};
  static_assert(offsetof(kvr_InitParams, status_callback) + sizeof set == sizeof copy);
  Value value = block_of("kvr_InitParams", &copy);
  std::memcpy(value.bytes.data() + offsetof(kvr_InitParams, status_callback), set, sizeof set);
  return value;
}

Value handler_block(const kvr_ProgressHandler* handler) {
  if (handler == nullptr) {
    return {};
  }
  const std::uint64_t set[] = {handler->progress_callback != nullptr,
                               handler->progress_context != nullptr};
  return Value::block("kvr_ProgressHandler", set, sizeof set);
}

template <class Request>
Fields fields_of_test(std::string_view request_name, const kvr_TestRequestHeader* header,
                      const Request* request, const kvr_ProgressHandler* progress,
                      kvr_TestRecord* const* record) {
  return {{"header", block_of("kvr_TestRequestHeader", header)},
          {"request", block_of(request_name, request)},
          {"progress", handler_block(progress)},
          {"record", set_or_null(record)}};
}

std::string bytes_of(const std::vector<std::byte>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

Fields initialize_fields(const kvr_InitParams* params) {
  return {{"params", params_block(params)}};
}

Fields test_station_fields(const char* port, const kvr_InitParams* params) {
  return {{"port", Value::text(port)}, {"params", params_block(params)}};
}

Fields key_fields(const char* key) {
  return {{"key", Value::text(key == nullptr || *key == '\0' ? key : "given")}};
}

Fields connect_fields(const kvr_ConnectionType* type, std::int32_t setting, const char* client_name,
                      const char* firmware_version) {
  return {{"type", type == nullptr ? Value() : Value::of(*type)},
          {"setting", Value::of(setting)},
          {"client_name", Value::text(client_name)},
          {"firmware_version", set_or_null(firmware_version)}};
}

Fields code_fields(std::int64_t code) { return {{"code", Value::of(code)}}; }

Fields text_fields(const char* text) { return {{"text", Value::text(text)}}; }

Fields output_fields(std::string_view name, const void* output) {
  return {{std::string(name), set_or_null(output)}};
}

Fields test_fields(const kvr_TestRequestHeader* header, const kvr_Ratio1phRequest* request,
                   const kvr_ProgressHandler* progress, kvr_TestRecord* const* record) {
  return fields_of_test("kvr_Ratio1phRequest", header, request, progress, record);
}

Fields test_fields(const kvr_TestRequestHeader* header, const kvr_Ratio3phRequest* request,
                   const kvr_ProgressHandler* progress, kvr_TestRecord* const* record) {
  return fields_of_test("kvr_Ratio3phRequest", header, request, progress, record);
}

Fields exists_fields(const char* record_id, const bool* exists) {
  return {{"record_id", Value::text(record_id)}, {"exists", set_or_null(exists)}};
}

Fields read_fields(const char* record_id, std::int32_t setting, kvr_TestRecord* const* record) {
  return {{"record_id", Value::text(record_id)},
          {"setting", Value::of(setting)},
          {"record", set_or_null(record)}};
}

Fields delete_fields(const char* record_id) { return {{"record_id", Value::text(record_id)}}; }

Fields list_fields(kvr_TestLabelsList* const* list, const void* filter, std::int32_t sort_key,
                   std::int32_t ascending) {
  return {{"list", set_or_null(list)},
          {"filter", set_or_null(filter)},
          {"sort_key", Value::of(sort_key)},
          {"ascending", Value::of(ascending)}};
}

Fields status_callback_fields(kvr_code code, const char* text) {
  return {{"code", Value::of(code)}, {"text", Value::text(text)}};
}

Fields progress_callback_fields(const kvr_Progress* progress) {
  return {{"progress", block_of("kvr_Progress", progress)}};
}

Value record_reference(std::int64_t number) {
  Value value;
  if (number >= 0) {
    value.kind = Value::Kind::kRecord;
    value.number = number;
  }
  return value;
}

Value list_reference(std::int64_t number) {
  Value value = record_reference(number);
  if (number >= 0) {
    value.kind = Value::Kind::kList;
  }
  return value;
}

Value record_content(std::int64_t number, const kvr_TestRecord& record, bool is_stored) {
  Value value = record_reference(number);
  kvr_TestRecord named;
  std::memcpy(&named, &record, sizeof named);
  std::uint32_t bit = 1;
  for_each_family([&](std::string_view family, auto array) {
    if (!type_names_family(named.test_type, family) && named.*array != nullptr) {
      named.*array = nullptr;
      value.others |= bit;
    }
    bit <<= 1U;
  });
  std::vector<kvr_TestData_Ratio_1ph*> other;
  if (is_stored && named.test_count > named.data_count && named.test_count <= kMostTests &&
      type_names_family(named.test_type, "ratio_3ph")) {
    value.data_count = named.data_count;
    if (named.data_ratio_3ph != nullptr && named.data_ratio_1ph != nullptr) {
      // An export walks the first of both; the other one ends where the record says.
      other.assign(named.data_ratio_1ph, named.data_ratio_1ph + named.data_count);
      other.resize(named.test_count);
      named.data_ratio_1ph = other.data();
    }
    named.data_count = named.test_count;
  }
  if (named.raw_data != nullptr) {
    value.raw = named.raw_data;
    named.raw_data = nullptr;
  }
  if (const auto form = encode_record(named)) {
    value.content = Value::Content::kForm;
    value.bytes = bytes_of(*form);
  } else if (const auto blocks = encode_plain_record(named)) {
    value.content = Value::Content::kBlocks;
    value.bytes = bytes_of(*blocks);
  } else {
    clear_links(named);
    value.content = Value::Content::kHead;
    value.bytes.assign(reinterpret_cast<const char*>(&named), sizeof named);
  }
  return value;
}

Value list_content(std::int64_t number, const kvr_TestLabelsList& list) {
  Value value = list_reference(number);
  value.has_entries = true;
  if (list.entries != nullptr) {
    value.bytes.assign(reinterpret_cast<const char*>(list.entries),
                       std::size_t{list.count} * sizeof(kvr_TestLabel));
  }
  return value;
}

}  // namespace tape

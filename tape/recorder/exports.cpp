#include <cstring>
#include <optional>

#include "api/client_api.h"
#include "tape/recorder/recorder.h"
#include "tape/recorder/thunks.h"
#include "tape/vocabulary/call_fields.h"
#include "tape/vocabulary/call_shapes.h"

// The 22 calls. Each goes through to the real library with the client's own pointers; only
// callbacks are replaced.

namespace {

using namespace tape;  // NOLINT(google-build-using-namespace): this file is the outside of it

Fields no_fields() { return {}; }

const auto only_code = [](auto code) { return code_fields(code); };

/// What a call writes into a record of the client: noted when it is accepted, or has changed.
template <std::size_t size>
class Output {
 public:
  Output(std::string_view name, std::string_view layout, const void* output)
      : name_(name), layout_(layout), output_(output) {
    if (output != nullptr) {
      std::memcpy(before_, output, size);
    }
  }

  Fields operator()(kvr_code code) const {
    Fields fields = code_fields(code);
    const bool written =
        output_ != nullptr && (is_accepted(code) || std::memcmp(before_, output_, size) != 0);
    fields.push_back(
        {std::string(name_), Value::block(layout_, written ? output_ : nullptr, size)});
    return fields;
  }

 private:
  std::string_view name_;
  std::string_view layout_;
  const void* output_;
  char before_[size];
};

auto record_output(kvr_TestRecord* const* record, bool is_stored = false) {
  return [record, is_stored](kvr_code code) {
    Fields fields = code_fields(code);
    const kvr_TestRecord* handed_out = record == nullptr ? nullptr : *record;
    fields.push_back(
        {"record", recorder().record_output(is_accepted(code), handed_out, is_stored)});
    return fields;
  };
}

}  // namespace

kvr_code kvr_Lib_Initialize(kvr_InitParams* params) {
  return record_call(
      "kvr_Lib_Initialize", [&] { return initialize_fields(params); },
      [&](const ClientApiTable& real) {
        kvr_InitParams* copy = recorded(params);
        const kvr_code code = real.kvr_Lib_Initialize(copy);
        copy_back(copy, params);
        return code;
      },
      only_code);
}

kvr_code kvr_Lib_InitializeTestStation(const char* port, kvr_InitParams* params) {
  return record_call(
      "kvr_Lib_InitializeTestStation", [&] { return test_station_fields(port, params); },
      [&](const ClientApiTable& real) {
        kvr_InitParams* copy = recorded(params);
        const kvr_code code = real.kvr_Lib_InitializeTestStation(port, copy);
        copy_back(copy, params);
        return code;
      },
      only_code);
}

kvr_code kvr_Lib_Shutdown() {
  const kvr_code code = record_call(
      "kvr_Lib_Shutdown", no_fields,
      [](const ClientApiTable& real) { return real.kvr_Lib_Shutdown(); }, only_code);
  recorder().sync();
  return code;
}

kvr_code kvr_SetClientKey(const char* key) {
  return record_call(
      "kvr_SetClientKey", [&] { return key_fields(key); },
      [&](const ClientApiTable& real) { return real.kvr_SetClientKey(key); }, only_code);
}

kvr_code kvr_ConnectAPI(kvr_ConnectionType* type, std::int32_t setting, const char* client_name,
                        char* firmware_version) {
  return record_call(
      "kvr_ConnectAPI",
      [&] { return connect_fields(type, setting, client_name, firmware_version); },
      [&](const ClientApiTable& real) {
        return real.kvr_ConnectAPI(type, setting, client_name, firmware_version);
      },
      Output<kFirmwareTextSize>("firmware_version", kFirmwareText, firmware_version));
}

std::int32_t kvr_CheckConnection() {
  return record_call(
      "kvr_CheckConnection", no_fields,
      [](const ClientApiTable& real) { return real.kvr_CheckConnection(); }, only_code);
}

const char* kvr_CodeToString(kvr_code code) {
  return record_call(
      "kvr_CodeToString", [&] { return code_fields(code); },
      [&](const ClientApiTable& real) { return real.kvr_CodeToString(code); }, text_fields);
}

kvr_code kvr_GetClientAPIInfo(kvr_ClientAPIInfo* info) {
  return record_call(
      "kvr_GetClientAPIInfo", [&] { return output_fields("info", info); },
      [&](const ClientApiTable& real) { return real.kvr_GetClientAPIInfo(info); },
      Output<sizeof *info>("info", "kvr_ClientAPIInfo", info));
}

kvr_code kvr_GetDeviceInfo(kvr_DeviceInfo* info) {
  return record_call(
      "kvr_GetDeviceInfo", [&] { return output_fields("info", info); },
      [&](const ClientApiTable& real) { return real.kvr_GetDeviceInfo(info); },
      Output<sizeof *info>("info", "kvr_DeviceInfo", info));
}

kvr_code kvr_GetStatus(kvr_Status* status) {
  return record_call(
      "kvr_GetStatus", [&] { return output_fields("status", status); },
      [&](const ClientApiTable& real) { return real.kvr_GetStatus(status); },
      Output<sizeof *status>("status", "kvr_Status", status));
}

kvr_code kvr_LockAPI() {
  return record_call(
      "kvr_LockAPI", no_fields, [](const ClientApiTable& real) { return real.kvr_LockAPI(); },
      only_code);
}

kvr_code kvr_UnlockAPI() {
  const kvr_code code = record_call(
      "kvr_UnlockAPI", no_fields, [](const ClientApiTable& real) { return real.kvr_UnlockAPI(); },
      only_code);
  recorder().sync();  // a run of tests ends here, and what it measured can't be had again
  return code;
}

kvr_code kvr_CancelOperation() {
  return record_call(
      "kvr_CancelOperation", no_fields,
      [](const ClientApiTable& real) { return real.kvr_CancelOperation(); }, only_code);
}

kvr_code kvr_Test_Ratio_1ph(kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return record_call(
      "kvr_Test_Ratio_1ph", [&] { return test_fields(header, request, progress, record); },
      [&](const ClientApiTable& real) {
        return real.kvr_Test_Ratio_1ph(header, request, recorded(progress), record);
      },
      record_output(record));
}

kvr_code kvr_Test_Ratio_3ph(kvr_TestRequestHeader* header, kvr_Ratio3phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return record_call(
      "kvr_Test_Ratio_3ph", [&] { return test_fields(header, request, progress, record); },
      [&](const ClientApiTable& real) {
        return real.kvr_Test_Ratio_3ph(header, request, recorded(progress), record);
      },
      record_output(record));
}

kvr_code kvr_FreeTestRecord(kvr_TestRecord* record) {
  return record_call(
      "kvr_FreeTestRecord",
      [&] {
        return Fields{{"record", record_reference(recorder().records.release(record))}};
      },
      [&](const ClientApiTable& real) { return real.kvr_FreeTestRecord(record); }, only_code);
}

kvr_code kvr_CheckRecordExists(const char* record_id, bool* exists) {
  unsigned char before = 0;
  if (exists != nullptr) {
    std::memcpy(&before, exists, 1);
  }
  return record_call(
      "kvr_CheckRecordExists", [&] { return exists_fields(record_id, exists); },
      [&](const ClientApiTable& real) { return real.kvr_CheckRecordExists(record_id, exists); },
      [&](kvr_code code) {
        Fields fields = code_fields(code);
        unsigned char now = before;
        if (exists != nullptr) {
          std::memcpy(&now, exists, 1);
        }
        const bool written = exists != nullptr && (is_accepted(code) || now != before);
        fields.push_back({"exists", written ? Value::of(now) : Value()});
        return fields;
      });
}

kvr_code kvr_ReadRecord(const char* record_id, std::int32_t setting, kvr_TestRecord** record) {
  return record_call(
      "kvr_ReadRecord", [&] { return read_fields(record_id, setting, record); },
      [&](const ClientApiTable& real) { return real.kvr_ReadRecord(record_id, setting, record); },
      record_output(record, true));
}

kvr_code kvr_DeleteRecord(const char* record_id) {
  return record_call(
      "kvr_DeleteRecord", [&] { return delete_fields(record_id); },
      [&](const ClientApiTable& real) { return real.kvr_DeleteRecord(record_id); }, only_code);
}

kvr_code kvr_ClearTestDatabase() {
  return record_call(
      "kvr_ClearTestDatabase", no_fields,
      [](const ClientApiTable& real) { return real.kvr_ClearTestDatabase(); }, only_code);
}

kvr_code kvr_ListRecords(kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                         std::int32_t ascending) {
  return record_call(
      "kvr_ListRecords", [&] { return list_fields(list, filter, sort_key, ascending); },
      [&](const ClientApiTable& real) {
        return real.kvr_ListRecords(list, filter, sort_key, ascending);
      },
      [&](kvr_code code) {
        Fields fields = code_fields(code);
        const kvr_TestLabelsList* handed_out = list == nullptr ? nullptr : *list;
        fields.push_back({"list", recorder().list_output(is_accepted(code), handed_out)});
        return fields;
      });
}

kvr_code kvr_FreeTestLabelsList(kvr_TestLabelsList* list) {
  return record_call(
      "kvr_FreeTestLabelsList",
      [&] {
        return Fields{{"list", list_reference(recorder().lists.release(list))}};
      },
      [&](const ClientApiTable& real) { return real.kvr_FreeTestLabelsList(list); }, only_code);
}

#include <cstring>

#include "api/client_api.h"
#include "tape/player/stage.h"
#include "tape/vocabulary/call_fields.h"

// The 22 calls, answered from the tape.

namespace {

using namespace tape;  // NOLINT(google-build-using-namespace): this file is the outside of it

kvr_code code_of(const Fields& outputs) {
  return static_cast<kvr_code>(outputs.front().value.number);
}

kvr_code plain_call(std::string_view name, const Fields& fields = {}) {
  return code_of(stage().call(name, fields));
}

/// A call that fills a record of the client.
kvr_code filling_call(std::string_view name, const Fields& fields, void* output) {
  const Fields& outputs = stage().call(name, fields);
  const Value& value = outputs.back().value;
  if (value.kind == Value::Kind::kBlock && output != nullptr) {
    std::memcpy(output, value.bytes.data(), value.bytes.size());
  }
  return code_of(outputs);
}

/// What was not written when it was recorded stays as it is.
kvr_code record_call(std::string_view name, const Fields& fields, kvr_TestRecord** record) {
  const Fields& outputs = stage().call(name, fields);
  const Value& value = outputs.back().value;
  if (record != nullptr) {
    *record = stage().holdings.hand_out_record(value);
  }
  return code_of(outputs);
}

}  // namespace

kvr_code kvr_Lib_Initialize(kvr_InitParams* params) {
  stage().set_status_callback(params);
  return plain_call("kvr_Lib_Initialize", initialize_fields(params));
}

kvr_code kvr_Lib_InitializeTestStation(const char* port, kvr_InitParams* params) {
  stage().set_status_callback(params);
  return plain_call("kvr_Lib_InitializeTestStation", test_station_fields(port, params));
}

kvr_code kvr_Lib_Shutdown() { return plain_call("kvr_Lib_Shutdown"); }

kvr_code kvr_SetClientKey(const char* key) {
  return plain_call("kvr_SetClientKey", key_fields(key));
}

kvr_code kvr_ConnectAPI(kvr_ConnectionType* type, std::int32_t setting, const char* client_name,
                        char* firmware_version) {
  return filling_call("kvr_ConnectAPI",
                      connect_fields(type, setting, client_name, firmware_version),
                      firmware_version);
}

std::int32_t kvr_CheckConnection() { return plain_call("kvr_CheckConnection"); }

const char* kvr_CodeToString(kvr_code code) {
  const Value& text = stage().call("kvr_CodeToString", code_fields(code)).front().value;
  return text.kind == Value::Kind::kNothing ? nullptr : stage().holdings.keep(text.bytes);
}

kvr_code kvr_GetClientAPIInfo(kvr_ClientAPIInfo* info) {
  return filling_call("kvr_GetClientAPIInfo", output_fields("info", info), info);
}

kvr_code kvr_GetDeviceInfo(kvr_DeviceInfo* info) {
  return filling_call("kvr_GetDeviceInfo", output_fields("info", info), info);
}

kvr_code kvr_GetStatus(kvr_Status* status) {
  return filling_call("kvr_GetStatus", output_fields("status", status), status);
}

kvr_code kvr_LockAPI() { return plain_call("kvr_LockAPI"); }

kvr_code kvr_UnlockAPI() { return plain_call("kvr_UnlockAPI"); }

kvr_code kvr_CancelOperation() { return plain_call("kvr_CancelOperation"); }

kvr_code kvr_Test_Ratio_1ph(kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  stage().set_progress_callback(progress);
  return record_call("kvr_Test_Ratio_1ph", test_fields(header, request, progress, record), record);
}

kvr_code kvr_Test_Ratio_3ph(kvr_TestRequestHeader* header, kvr_Ratio3phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  stage().set_progress_callback(progress);
  return record_call("kvr_Test_Ratio_3ph", test_fields(header, request, progress, record), record);
}

kvr_code kvr_FreeTestRecord(kvr_TestRecord* record) {
  const std::int64_t name = stage().holdings.release(record);
  const kvr_code code = plain_call("kvr_FreeTestRecord", {{"record", record_reference(name)}});
  if (code == KVR_RES_OK) {
    stage().holdings.free_record(name);
  }
  return code;
}

kvr_code kvr_CheckRecordExists(const char* record_id, bool* exists) {
  const Fields& outputs = stage().call("kvr_CheckRecordExists", exists_fields(record_id, exists));
  const Value& value = outputs.back().value;
  if (exists != nullptr && value.kind == Value::Kind::kNumber) {
    *exists = value.number != 0;
  }
  return code_of(outputs);
}

kvr_code kvr_ReadRecord(const char* record_id, std::int32_t setting, kvr_TestRecord** record) {
  return record_call("kvr_ReadRecord", read_fields(record_id, setting, record), record);
}

kvr_code kvr_DeleteRecord(const char* record_id) {
  return plain_call("kvr_DeleteRecord", delete_fields(record_id));
}

kvr_code kvr_ClearTestDatabase() { return plain_call("kvr_ClearTestDatabase"); }

kvr_code kvr_ListRecords(kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                         std::int32_t ascending) {
  const Fields& outputs =
      stage().call("kvr_ListRecords", list_fields(list, filter, sort_key, ascending));
  if (list != nullptr) {
    *list = stage().holdings.hand_out_list(outputs.back().value);
  }
  return code_of(outputs);
}

kvr_code kvr_FreeTestLabelsList(kvr_TestLabelsList* list) {
  const std::int64_t name = stage().holdings.release(list);
  const kvr_code code = plain_call("kvr_FreeTestLabelsList", {{"list", list_reference(name)}});
  if (code == KVR_RES_OK) {
    stage().holdings.free_list(name);
  }
  return code;
}

#include "support/quoted_text.h"
#include "support/scripted_client_api.h"

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

#include "contract/broken/good_calls.h"

namespace {

const ClientApiTable& calls() {
  static const ClientApiTable table = [] {
    ClientApiTable broken = good_calls();
    break_calls(broken);
    return broken;
  }();
  return table;
}

}  // namespace

kvr_code kvr_Lib_Initialize(kvr_InitParams* params) { return calls().kvr_Lib_Initialize(params); }

kvr_code kvr_Lib_InitializeTestStation(const char* port, kvr_InitParams* params) {
  return calls().kvr_Lib_InitializeTestStation(port, params);
}

kvr_code kvr_Lib_Shutdown() { return calls().kvr_Lib_Shutdown(); }

kvr_code kvr_SetClientKey(const char* key) { return calls().kvr_SetClientKey(key); }

kvr_code kvr_ConnectAPI(kvr_ConnectionType* type, std::int32_t setting, const char* client_name,
                        char* firmware_version) {
  return calls().kvr_ConnectAPI(type, setting, client_name, firmware_version);
}

std::int32_t kvr_CheckConnection() { return calls().kvr_CheckConnection(); }

const char* kvr_CodeToString(kvr_code code) { return calls().kvr_CodeToString(code); }

kvr_code kvr_GetClientAPIInfo(kvr_ClientAPIInfo* info) {
  return calls().kvr_GetClientAPIInfo(info);
}

kvr_code kvr_GetDeviceInfo(kvr_DeviceInfo* info) { return calls().kvr_GetDeviceInfo(info); }

kvr_code kvr_GetStatus(kvr_Status* status) { return calls().kvr_GetStatus(status); }

kvr_code kvr_LockAPI() { return calls().kvr_LockAPI(); }

kvr_code kvr_UnlockAPI() { return calls().kvr_UnlockAPI(); }

kvr_code kvr_CancelOperation() { return calls().kvr_CancelOperation(); }

kvr_code kvr_Test_Ratio_1ph(kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return calls().kvr_Test_Ratio_1ph(header, request, progress, record);
}

kvr_code kvr_Test_Ratio_3ph(kvr_TestRequestHeader* header, kvr_Ratio3phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return calls().kvr_Test_Ratio_3ph(header, request, progress, record);
}

kvr_code kvr_FreeTestRecord(kvr_TestRecord* record) { return calls().kvr_FreeTestRecord(record); }

kvr_code kvr_CheckRecordExists(const char* record_id, bool* exists) {
  return calls().kvr_CheckRecordExists(record_id, exists);
}

kvr_code kvr_ReadRecord(const char* record_id, std::int32_t setting, kvr_TestRecord** record) {
  return calls().kvr_ReadRecord(record_id, setting, record);
}

kvr_code kvr_DeleteRecord(const char* record_id) { return calls().kvr_DeleteRecord(record_id); }

kvr_code kvr_ClearTestDatabase() { return calls().kvr_ClearTestDatabase(); }

kvr_code kvr_ListRecords(kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                         std::int32_t ascending) {
  return calls().kvr_ListRecords(list, filter, sort_key, ascending);
}

kvr_code kvr_FreeTestLabelsList(kvr_TestLabelsList* list) {
  return calls().kvr_FreeTestLabelsList(list);
}

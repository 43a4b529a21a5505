#include <cstring>

#include "api/client_api.h"
#include "record_form/record_nest.h"
#include "virtual_instrument/session/library.h"
#include "virtual_instrument/vocabulary/code_sentences.h"
#include "virtual_instrument/vocabulary/text_field.h"

using virtual_instrument::Fault;
using virtual_instrument::library;
using virtual_instrument::Session;

namespace {

/// The version of this library itself; it does not depend on the bench's instrument.
constexpr char kLibraryVersion[] = "1.0 virtual";

}  // namespace

kvr_code kvr_Lib_Initialize(kvr_InitParams* params) {
  library().prepare();
  return library().answer("kvr_Lib_Initialize", [&] { return library().initialize(params); });
}

kvr_code kvr_Lib_InitializeTestStation(const char* port, kvr_InitParams* params) {
  library().prepare();
  return library().answer("kvr_Lib_InitializeTestStation",
                          [&] { return library().initialize_test_station(port, params); });
}

kvr_code kvr_Lib_Shutdown() {
  return library().answer("kvr_Lib_Shutdown", [] { return library().shut_down(); });
}

kvr_code kvr_SetClientKey(const char* key) {
  return library().answer_in_session("kvr_SetClientKey", [&](Session&) {
    return key == nullptr ? KVR_RES_INCORRECT_PARAMETERS : KVR_RES_OK;
  });
}

// The setting is ignored: only the maker knows its meaning.
kvr_code kvr_ConnectAPI(kvr_ConnectionType* type, std::int32_t /*setting*/, const char* client_name,
                        char* firmware_version) {
  return library().answer_in_session("kvr_ConnectAPI", [&](Session& session) {
    return session.connect(type, client_name, firmware_version);
  });
}

std::int32_t kvr_CheckConnection() {
  return library().answer_in_session("kvr_CheckConnection",
                                     [](Session& session) { return session.check_connection(); });
}

// Needs no session: a client can ask for the meaning of a refused initialisation.
const char* kvr_CodeToString(kvr_code code) {
  return library().gives_nothing("kvr_CodeToString") ? nullptr
                                                     : virtual_instrument::code_sentence(code);
}

kvr_code kvr_GetClientAPIInfo(kvr_ClientAPIInfo* info) {
  return library().answer_in_session("kvr_GetClientAPIInfo", [&](Session&) {
    if (info == nullptr) {
      return KVR_RES_INCORRECT_PARAMETERS;
    }
    *info = {};
    virtual_instrument::fill_field(info->version, kLibraryVersion);
    return KVR_RES_OK;
  });
}

kvr_code kvr_GetDeviceInfo(kvr_DeviceInfo* info) {
  return library().answer_in_session(
      "kvr_GetDeviceInfo", [&](Session& session) { return session.get_device_info(info); });
}

kvr_code kvr_GetStatus(kvr_Status* status) {
  return library().answer_in_session("kvr_GetStatus",
                                     [&](Session& session) { return session.get_status(status); });
}

kvr_code kvr_LockAPI() {
  return library().answer_in_session("kvr_LockAPI",
                                     [](Session& session) { return session.lock_api(); });
}

kvr_code kvr_UnlockAPI() {
  return library().answer_in_session("kvr_UnlockAPI",
                                     [](Session& session) { return session.unlock_api(); });
}

kvr_code kvr_CancelOperation() {
  return library().answer_in_session("kvr_CancelOperation", [](Session& session) {
    const bool released = library().release_held();
    const kvr_code code = session.cancel_operation();
    return released && code == KVR_RES_TEST_NOT_RUNNING ? KVR_RES_OK : code;
  });
}

kvr_code kvr_Test_Ratio_1ph(kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return library().answer_in_session(
      "kvr_Test_Ratio_1ph", [&](Session& session, const Fault& fault) {
        return session.test_ratio_1ph(header, request, progress, fault, record);
      });
}

kvr_code kvr_Test_Ratio_3ph(kvr_TestRequestHeader* header, kvr_Ratio3phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record) {
  return library().answer_in_session(
      "kvr_Test_Ratio_3ph", [&](Session& session, const Fault& fault) {
        return session.test_ratio_3ph(header, request, progress, fault, record);
      });
}

// Records and lists outlive their session, so these two calls need none.

kvr_code kvr_FreeTestRecord(kvr_TestRecord* record) {
  return library().answer("kvr_FreeTestRecord", [&] {
    free_record(record);
    return KVR_RES_OK;
  });
}

kvr_code kvr_FreeTestLabelsList(kvr_TestLabelsList* list) {
  return library().answer("kvr_FreeTestLabelsList", [&] {
    virtual_instrument::FreeLabels()(list);
    return KVR_RES_OK;
  });
}

kvr_code kvr_CheckRecordExists(const char* record_id, bool* exists) {
  return library().answer_in_session("kvr_CheckRecordExists", [&](Session& session) {
    return session.check_record_exists(record_id, exists);
  });
}

kvr_code kvr_ReadRecord(const char* record_id, std::int32_t /*setting*/, kvr_TestRecord** record) {
  return library().answer_in_session(
      "kvr_ReadRecord", [&](Session& session) { return session.read_record(record_id, record); });
}

kvr_code kvr_DeleteRecord(const char* record_id) {
  return library().answer_in_session(
      "kvr_DeleteRecord", [&](Session& session) { return session.delete_record(record_id); });
}

kvr_code kvr_ClearTestDatabase() {
  return library().answer_in_session(
      "kvr_ClearTestDatabase", [](Session& session) { return session.clear_test_database(); });
}

kvr_code kvr_ListRecords(kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                         std::int32_t ascending) {
  return library().answer_in_session("kvr_ListRecords", [&](Session& session) {
    return session.list_records(list, filter, sort_key, ascending != 0);
  });
}

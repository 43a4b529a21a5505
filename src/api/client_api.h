#pragma once

#include <cstdint>

#include "api/codes.h"
#include "api/request_records.h"
#include "api/result_records.h"
#include "api/session_records.h"

// The 22 calls of kvr-client-api, the only way to the instrument. The program binds to the library
// of that name that the dynamic linker finds: the instrument maker's or the virtual instrument.
//
// Calls come from one thread, with these exceptions: kvr_CancelOperation may come from any thread
// while a test blocks, and the status callback may call kvr_CodeToString, kvr_CheckConnection and
// kvr_Lib_Shutdown from the library's own thread. Texts are NUL-terminated and narrow.

extern "C" {

/// Starts the library for a connection that is chosen later.
kvr_code kvr_Lib_Initialize(kvr_InitParams* params);

/// Starts the library for a test station on the serial port `port`.
kvr_code kvr_Lib_InitializeTestStation(const char* port, kvr_InitParams* params);

/// Ends the library. Once per session, unless initialisation was refused.
kvr_code kvr_Lib_Shutdown();

/// Presents the client key, once, before connecting.
kvr_code kvr_SetClientKey(const char* key);

/// Connects to an instrument. `setting` is always 5; `firmware_version` has room for
/// kFirmwareTextSize bytes and is filled with a text.
kvr_code kvr_ConnectAPI(kvr_ConnectionType* type, std::int32_t setting, const char* client_name,
                        char* firmware_version);

/// 0 while the instrument is connected, anything else when the connection is lost.
std::int32_t kvr_CheckConnection();

/// The library's own wording for a code, owned by the library. May be null.
const char* kvr_CodeToString(kvr_code code);

kvr_code kvr_GetClientAPIInfo(kvr_ClientAPIInfo* info);
kvr_code kvr_GetDeviceInfo(kvr_DeviceInfo* info);
kvr_code kvr_GetStatus(kvr_Status* status);

/// Reserves the instrument's API for a run of tests, and releases it.
kvr_code kvr_LockAPI();
kvr_code kvr_UnlockAPI();

/// Cancels the running operation, from any thread.
kvr_code kvr_CancelOperation();

/// Run one test and block until it ends. The record stored in `*record` belongs to the library;
/// free it with kvr_FreeTestRecord. The library does not keep the requests after the call.
kvr_code kvr_Test_Ratio_1ph(kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record);
kvr_code kvr_Test_Ratio_3ph(kvr_TestRequestHeader* header, kvr_Ratio3phRequest* request,
                            kvr_ProgressHandler* progress, kvr_TestRecord** record);

/// Frees a record of a test call or of kvr_ReadRecord, with everything that hangs from it.
kvr_code kvr_FreeTestRecord(kvr_TestRecord* record);

/// Stores in `*exists` whether a stored record has that ID; leaves it alone on failure.
kvr_code kvr_CheckRecordExists(const char* record_id, bool* exists);

/// Reads one stored record. `setting` is always 1.
kvr_code kvr_ReadRecord(const char* record_id, std::int32_t setting, kvr_TestRecord** record);

kvr_code kvr_DeleteRecord(const char* record_id);
kvr_code kvr_ClearTestDatabase();

/// Lists the stored records. `filter` is always null; `sort_key` is one of those below; `ascending`
/// is 1 or 0. Free the list with kvr_FreeTestLabelsList. The library must allocate the entries with
/// one new[] and the list with one new: the record export frees them by delete[] and delete.
kvr_code kvr_ListRecords(kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                         std::int32_t ascending);
kvr_code kvr_FreeTestLabelsList(kvr_TestLabelsList* list);

}  // extern "C"

/// Sort keys of kvr_ListRecords.
constexpr std::int32_t kSortByDateTime = 0;
constexpr std::int32_t kSortByTestId = 1;
constexpr std::int32_t kSortByVectorGroup = 2;

#pragma once

#include "api/client_api.h"

// The 22 calls as a list, and as a table of pointers for callers that do not reach them through the
// linker.

#define KVR_EACH_CALL(USE)           \
  USE(kvr_Lib_Initialize)            \
  USE(kvr_Lib_InitializeTestStation) \
  USE(kvr_Lib_Shutdown)              \
  USE(kvr_SetClientKey)              \
  USE(kvr_ConnectAPI)                \
  USE(kvr_CheckConnection)           \
  USE(kvr_CodeToString)              \
  USE(kvr_GetClientAPIInfo)          \
  USE(kvr_GetDeviceInfo)             \
  USE(kvr_GetStatus)                 \
  USE(kvr_LockAPI)                   \
  USE(kvr_UnlockAPI)                 \
  USE(kvr_CancelOperation)           \
  USE(kvr_Test_Ratio_1ph)            \
  USE(kvr_Test_Ratio_3ph)            \
  USE(kvr_FreeTestRecord)            \
  USE(kvr_CheckRecordExists)         \
  USE(kvr_ReadRecord)                \
  USE(kvr_DeleteRecord)              \
  USE(kvr_ClearTestDatabase)         \
  USE(kvr_ListRecords)               \
  USE(kvr_FreeTestLabelsList)

struct ClientApiTable {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared stands alone
#define KVR_MEMBER(call) decltype(&::call) call = nullptr;
  KVR_EACH_CALL(KVR_MEMBER)
#undef KVR_MEMBER
};

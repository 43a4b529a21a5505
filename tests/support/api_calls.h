#pragma once

#include <cstddef>
#include <string_view>

// The 22 calls of the client library as values, for scripts and logs.

/// Every call once, as X(name without its prefix).
#define KVR_API_CALL_LIST(X)   \
  X(Lib_Initialize)            \
  X(Lib_InitializeTestStation) \
  X(Lib_Shutdown)              \
  X(SetClientKey)              \
  X(ConnectAPI)                \
  X(CheckConnection)           \
  X(CodeToString)              \
  X(GetClientAPIInfo)          \
  X(GetDeviceInfo)             \
  X(GetStatus)                 \
  X(LockAPI)                   \
  X(UnlockAPI)                 \
  X(CancelOperation)           \
  X(Test_Ratio_1ph)            \
  X(Test_Ratio_3ph)            \
  X(FreeTestRecord)            \
  X(CheckRecordExists)         \
  X(ReadRecord)                \
  X(DeleteRecord)              \
  X(ClearTestDatabase)         \
  X(ListRecords)               \
  X(FreeTestLabelsList)

/// Named after the calls themselves: `ApiCall::ConnectAPI` is kvr_ConnectAPI.
enum class ApiCall {
#define KVR_API_CALL_VALUE(name) name,
  KVR_API_CALL_LIST(KVR_API_CALL_VALUE)
#undef KVR_API_CALL_VALUE
};

inline constexpr std::string_view kApiCallNames[] = {
#define KVR_API_CALL_TEXT(name) #name
#define KVR_API_CALL_NAME(name) KVR_API_CALL_TEXT(kvr_##name),
    KVR_API_CALL_LIST(KVR_API_CALL_NAME)
#undef KVR_API_CALL_NAME
#undef KVR_API_CALL_TEXT
};

inline constexpr std::size_t kApiCallCount = std::size(kApiCallNames);

/// The full name, "kvr_ConnectAPI".
constexpr std::string_view name_of(ApiCall call) {
  return kApiCallNames[static_cast<std::size_t>(call)];
}

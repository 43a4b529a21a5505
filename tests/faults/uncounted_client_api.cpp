#include "faults/uncounted_client_api.h"

#include "support/counted_new.h"

// The linker replaces the calls by these.

std::function<void()> after_lock;

#define KVR_UNCOUNTED(result, call, parameters, arguments) \
  extern "C" result __real_##call parameters;              \
  extern "C" result __wrap_##call parameters {             \
    const counted_new::Pause pause;                        \
    return __real_##call arguments;                        \
  }

KVR_UNCOUNTED(kvr_code, kvr_UnlockAPI, (), ())
KVR_UNCOUNTED(const char*, kvr_CodeToString, (kvr_code code), (code))
KVR_UNCOUNTED(kvr_code, kvr_Test_Ratio_1ph,
              (kvr_TestRequestHeader * header, kvr_Ratio1phRequest* request,
               kvr_ProgressHandler* progress, kvr_TestRecord** record),
              (header, request, progress, record))
KVR_UNCOUNTED(kvr_code, kvr_Test_Ratio_3ph,
              (kvr_TestRequestHeader * header, kvr_Ratio3phRequest* request,
               kvr_ProgressHandler* progress, kvr_TestRecord** record),
              (header, request, progress, record))
KVR_UNCOUNTED(kvr_code, kvr_FreeTestRecord, (kvr_TestRecord * record), (record))
KVR_UNCOUNTED(kvr_code, kvr_ReadRecord,
              (const char* record_id, std::int32_t setting, kvr_TestRecord** record),
              (record_id, setting, record))
KVR_UNCOUNTED(kvr_code, kvr_ListRecords,
              (kvr_TestLabelsList * *list, void* filter, std::int32_t sort_key,
               std::int32_t ascending),
              (list, filter, sort_key, ascending))

extern "C" kvr_code __real_kvr_LockAPI();
extern "C" kvr_code __wrap_kvr_LockAPI() {
  const kvr_code code = __real_kvr_LockAPI();
  if (after_lock) {
    after_lock();
  }
  return code;
}

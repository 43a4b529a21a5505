// breaks: outputs-left-alone
// A refused read clears the caller's pointer.
#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_ReadRecord = [](const char* record_id, std::int32_t setting, kvr_TestRecord** record) {
    if (record != nullptr) {
      *record = nullptr;
    }
    return good_kvr_ReadRecord(record_id, setting, record);
  };
}

// breaks: events
// A release is reported after the event that follows it.
#include <atomic>

#include "contract/broken/good_calls.h"

namespace {

// The thread of a lost session may still look at them while the next session begins.
std::atomic<kvr_StatusCallback> callback = nullptr;
std::atomic<bool> released = false;

void tell(void* context, kvr_code code, const char* text) {
  if (code == KVR_RES_EMERGENCY_STOP_RELEASED) {
    released = true;
    return;
  }
  callback.load()(context, code, text);
  if (released.exchange(false)) {
    callback.load()(context, KVR_RES_EMERGENCY_STOP_RELEASED, text);
  }
}

}  // namespace

void break_calls(ClientApiTable& calls) {
  calls.kvr_Lib_Initialize = [](kvr_InitParams* params) {
    if (params == nullptr || params->status_callback == nullptr) {
      return good_kvr_Lib_Initialize(params);
    }
    callback = params->status_callback;
    released = false;
    kvr_InitParams own = *params;
    own.status_callback = tell;
    return good_kvr_Lib_Initialize(&own);
  };
}

// breaks: silence-after-shutdown
// The thread that reports events reports one more after the session has ended.
#include <thread>

#include "contract/broken/good_calls.h"

namespace {

kvr_InitParams begun{};
bool ended = false;

}  // namespace

void break_calls(ClientApiTable& calls) {
  calls.kvr_Lib_Initialize = [](kvr_InitParams* params) {
    const kvr_code code = good_kvr_Lib_Initialize(params);
    if (code == KVR_RES_OK) {
      begun = *params;
      ended = false;
    }
    return code;
  };
  calls.kvr_Lib_Shutdown = [] {
    const kvr_code code = good_kvr_Lib_Shutdown();
    ended = code == KVR_RES_OK;
    return code;
  };
  calls.kvr_CheckConnection = [] {
    if (ended && begun.status_callback != nullptr) {
      std::thread([] {
        begun.status_callback(begun.status_context, KVR_RES_PEER_DISCONNECTED, "late");
      }).join();
      ended = false;
    }
    return good_kvr_CheckConnection();
  };
}

// breaks: lock
// The API can be locked a second time while it is locked.
#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_LockAPI = [] {
    const kvr_code code = good_kvr_LockAPI();
    return code == KVR_RES_API_LOCKED ? KVR_RES_OK : code;
  };
}

// breaks: status
// The library writes more bytes than the caller's status record has.
#include <cstring>

#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_GetStatus = [](kvr_Status* status) {
    const kvr_code code = good_kvr_GetStatus(status);
    // Only once: that caller leaves room after its record.
    static bool done = false;
    if (code == KVR_RES_OK && !done) {
      done = true;
      std::memset(static_cast<void*>(status + 1), 0, 4);
    }
    return code;
  };
}

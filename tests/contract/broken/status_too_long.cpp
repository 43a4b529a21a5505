// breaks: status
// A newer library's status record is longer than its caller's.
#include <cstring>

#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_GetStatus = [](kvr_Status* status) {
    const kvr_code code = good_kvr_GetStatus(status);
    // Once, for the caller that leaves room behind its record.
    static bool done = false;
    if (code == KVR_RES_OK && !done) {
      done = true;
      std::memset(static_cast<void*>(status + 1), 0, 4);
    }
    return code;
  };
}

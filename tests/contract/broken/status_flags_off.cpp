// breaks: status lock
// The flags of the status record lie one byte too far on.
#include <cstring>

#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_GetStatus = [](kvr_Status* status) {
    const kvr_code code = good_kvr_GetStatus(status);
    if (code == KVR_RES_OK) {
      std::memmove(&status->database_loaded, &status->api_locked, 11);
      status->api_locked = 0;
    }
    return code;
  };
}

#include "contract/broken/good_calls.h"

// The outer one of a client library of two: it exports the 22 calls, and another library, which it
// imports by name, carries them out. Asked for the state, it lets that one ask for words.

extern "C" const char* words_from_outside(kvr_code code);

void break_calls(ClientApiTable& calls) {
  calls.kvr_GetStatus = [](kvr_Status* status) {
    return words_from_outside(KVR_RES_OK) == nullptr ? KVR_RES_INTERNAL_ERROR
                                                     : good_kvr_GetStatus(status);
  };
}

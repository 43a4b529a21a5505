// breaks: save-modes empty-id
// A test with the save mode for not storing is stored.
#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_Test_Ratio_1ph = [](kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                                kvr_ProgressHandler* progress, kvr_TestRecord** record) {
    if (header != nullptr && header->save_mode == KVR_SAVE_NOTHING) {
      header->save_mode = KVR_SAVE_ADD_TO_RECORD;
    }
    return good_kvr_Test_Ratio_1ph(header, request, progress, record);
  };
}

// breaks: cancel
// Cancelling is accepted and does nothing.
#include <atomic>

#include "contract/broken/good_calls.h"

namespace {

std::atomic<bool> testing = false;  // a test is cancelled from another thread

}  // namespace

void break_calls(ClientApiTable& calls) {
  calls.kvr_Test_Ratio_1ph = [](kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                                kvr_ProgressHandler* progress, kvr_TestRecord** record) {
    testing = true;
    const kvr_code code = good_kvr_Test_Ratio_1ph(header, request, progress, record);
    testing = false;
    return code;
  };
  calls.kvr_CancelOperation = [] { return testing ? KVR_RES_OK : good_kvr_CancelOperation(); };
}

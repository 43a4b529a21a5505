// breaks: own-request raw-data
// A test returns the record of the test before it.
#include <utility>

#include "contract/broken/good_calls.h"

namespace {

kvr_TestRecord* late = nullptr;

}  // namespace

void break_calls(ClientApiTable& calls) {
  calls.kvr_Test_Ratio_1ph = [](kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                                kvr_ProgressHandler* progress, kvr_TestRecord** record) {
    const kvr_code code = good_kvr_Test_Ratio_1ph(header, request, progress, record);
    // Only for tests without progress callbacks: the extra test must not take long.
    if (code == KVR_RES_OK && progress == nullptr && header->save_mode == KVR_SAVE_NOTHING) {
      if (late != nullptr) {
        std::swap(late, *record);
      } else {
        kvr_Ratio1phRequest again = *request;
        good_kvr_Test_Ratio_1ph(header, &again, nullptr, &late);
      }
    }
    return code;
  };
}

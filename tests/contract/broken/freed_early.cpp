// breaks: records-stay
// A record's memory is used again for the next test, even if it was not freed.
#include <cstring>

#include "contract/broken/good_calls.h"

namespace {

kvr_TestRecord* given = nullptr;

}  // namespace

void break_calls(ClientApiTable& calls) {
  calls.kvr_Test_Ratio_1ph = [](kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                                kvr_ProgressHandler* progress, kvr_TestRecord** record) {
    if (given != nullptr) {
      std::memset(given->data_ratio_1ph[0], 0xDD, sizeof(kvr_TestData_Ratio_1ph));
    }
    const kvr_code code = good_kvr_Test_Ratio_1ph(header, request, progress, record);
    given = code == KVR_RES_OK ? *record : nullptr;
    return code;
  };
  calls.kvr_FreeTestRecord = [](kvr_TestRecord* record) {
    if (record == given) {
      given = nullptr;
    }
    return good_kvr_FreeTestRecord(record);
  };
}

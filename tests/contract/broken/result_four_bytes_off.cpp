// breaks: single-phase-test
// In a single-phase result, the fields after the request lie four bytes too far on.
#include <cstring>

#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_Test_Ratio_1ph = [](kvr_TestRequestHeader* header, kvr_Ratio1phRequest* request,
                                kvr_ProgressHandler* progress, kvr_TestRecord** record) {
    const kvr_code code = good_kvr_Test_Ratio_1ph(header, request, progress, record);
    if (code == KVR_RES_OK && header->save_mode == KVR_SAVE_NOTHING) {
      auto* begin = reinterpret_cast<char*>(&(*record)->data_ratio_1ph[0]->phase.voltage_h);
      std::memmove(begin + 4, begin, 100);
    }
    return code;
  };
}

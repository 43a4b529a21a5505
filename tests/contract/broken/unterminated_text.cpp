// breaks: texts
// A text fills its field without a terminator.
#include <algorithm>
#include <iterator>

#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_Test_Ratio_3ph = [](kvr_TestRequestHeader* header, kvr_Ratio3phRequest* request,
                                kvr_ProgressHandler* progress, kvr_TestRecord** record) {
    const kvr_code code = good_kvr_Test_Ratio_3ph(header, request, progress, record);
    if (code == KVR_RES_OK && header->save_mode == KVR_SAVE_NOTHING) {
      auto& field = (*record)->data_ratio_3ph[0]->phases[2].tvr_name;
      std::fill(std::begin(field), std::end(field), 'x');
    }
    return code;
  };
}

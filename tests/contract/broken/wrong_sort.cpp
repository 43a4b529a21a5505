// breaks: list-order
// Every list is in ascending order.
#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_ListRecords = [](kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                             std::int32_t) {
    return good_kvr_ListRecords(list, filter, sort_key, 1);
  };
}

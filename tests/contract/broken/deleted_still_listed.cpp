// breaks: deletion
// A deleted record is gone, but lists still have it.
#include <algorithm>
#include <cstring>

#include "contract/broken/good_calls.h"

namespace {

kvr_TestLabel deleted{};

}  // namespace

void break_calls(ClientApiTable& calls) {
  calls.kvr_DeleteRecord = [](const char* record_id) {
    kvr_TestLabelsList* list = nullptr;
    if (record_id != nullptr &&
        good_kvr_ListRecords(&list, nullptr, kSortByTestId, 1) == KVR_RES_OK) {
      const kvr_TestLabel* const end = list->entries + list->count;
      const kvr_TestLabel* const found =
          std::find_if(static_cast<const kvr_TestLabel*>(list->entries), end,
                       [record_id](const kvr_TestLabel& label) {
                         return std::strcmp(label.record_id, record_id) == 0;
                       });
      deleted = found == end ? kvr_TestLabel{} : *found;
      good_kvr_FreeTestLabelsList(list);
    }
    return good_kvr_DeleteRecord(record_id);
  };
  calls.kvr_ListRecords = [](kvr_TestLabelsList** list, void* filter, std::int32_t sort_key,
                             std::int32_t ascending) {
    const kvr_code code = good_kvr_ListRecords(list, filter, sort_key, ascending);
    // Inserted where it fits the order of IDs, the only order that this rule asks for.
    if (code == KVR_RES_OK && deleted.record_id[0] != '\0' && sort_key == kSortByTestId) {
      auto* longer = new kvr_TestLabel[(*list)->count + 1];
      std::copy_n((*list)->entries, (*list)->count, longer);
      longer[(*list)->count] = deleted;
      delete[](*list)->entries;
      (*list)->entries = longer;
      ++(*list)->count;
      deleted = {};
    }
    return code;
  };
}

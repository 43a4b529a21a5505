#include "virtual_instrument/store/record_order.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <string>
#include <string_view>

#include "virtual_instrument/store/vector_group_name.h"

namespace virtual_instrument {
namespace {

using Order = std::vector<std::uint32_t>;

template <class KeyOf>
void sort_by(Order& order, bool ascending, const std::vector<StoredLabel>& labels, KeyOf key_of) {
  using Key = decltype(key_of(labels.front()));
  std::vector<Key> keys;
  keys.reserve(labels.size());
  std::transform(labels.begin(), labels.end(), std::back_inserter(keys), key_of);
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
    return ascending ? keys[left] < keys[right] : keys[right] < keys[left];
  });
}

}  // namespace

void FreeLabels::operator()(kvr_TestLabelsList* list) const {
  if (list != nullptr) {
    delete[] list->entries;
    delete list;
  }
}

Labels ordered_list(const std::vector<StoredLabel>& labels, SortKey key, bool ascending) {
  Order order(labels.size());
  std::iota(order.begin(), order.end(), 0U);
  switch (key) {
    case SortKey::kDateTime:
      sort_by(order, ascending, labels, [](const StoredLabel& stored) { return stored.time; });
      break;
    case SortKey::kTestId:
      sort_by(order, ascending, labels,
              [](const StoredLabel& stored) { return std::string_view(stored.label.record_id); });
      break;
    case SortKey::kVectorGroup:
      sort_by(order, ascending, labels,
              [](const StoredLabel& stored) { return vector_group_name(stored.label.setup); });
      break;
  }
  Labels list(new kvr_TestLabelsList{});
  list->entries = new kvr_TestLabel[labels.size()];
  list->count = static_cast<std::uint32_t>(labels.size());
  std::transform(order.begin(), order.end(), list->entries,
                 [&](std::uint32_t position) { return labels[position].label; });
  return list;
}

}  // namespace virtual_instrument

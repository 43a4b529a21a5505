#include "virtual_instrument/store/record_order.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "virtual_instrument/store/vector_group_name.h"

namespace virtual_instrument {
namespace {

template <class Key>
struct Keyed {
  Key key;
  std::uint32_t position;  ///< in the order in which the records were begun
};

/// The keys stand side by side: those of the labels themselves are too far apart to be compared
/// quickly.
template <class KeyOf>
void fill_sorted(kvr_TestLabel* entries, const std::vector<StoredLabel>& labels, bool ascending,
                 KeyOf key_of) {
  using Entry = Keyed<decltype(key_of(labels.front()))>;
  std::vector<Entry> order;
  order.reserve(labels.size());
  for (const StoredLabel& stored : labels) {
    order.push_back({key_of(stored), static_cast<std::uint32_t>(order.size())});
  }
  std::stable_sort(order.begin(), order.end(), [&](const Entry& left, const Entry& right) {
    return ascending ? left.key < right.key : right.key < left.key;
  });
  std::transform(order.begin(), order.end(), entries,
                 [&](const Entry& entry) { return labels[entry.position].label; });
}

/// An ID, zero from its end on.
using IdBytes = std::array<unsigned char, kIdSize>;

IdBytes id_bytes(const kvr_TestLabel& label) {
  IdBytes bytes{};
  const auto* const end = std::find(std::begin(label.record_id), std::end(label.record_id), '\0');
  std::copy(std::begin(label.record_id), end, bytes.begin());
  return bytes;
}

}  // namespace

void FreeLabels::operator()(kvr_TestLabelsList* list) const {
  if (list != nullptr) {
    delete[] list->entries;
    delete list;
  }
}

Labels ordered_list(const std::vector<StoredLabel>& labels, SortKey key, bool ascending) {
  Labels list(new kvr_TestLabelsList{});
  list->entries = new kvr_TestLabel[labels.size()];
  list->count = static_cast<std::uint32_t>(labels.size());
  const auto fill = [&](auto key_of) { fill_sorted(list->entries, labels, ascending, key_of); };
  switch (key) {
    case SortKey::kDateTime:
      fill([](const StoredLabel& stored) { return stored.time; });
      break;
    case SortKey::kTestId:
      fill([](const StoredLabel& stored) { return id_bytes(stored.label); });
      break;
    case SortKey::kVectorGroup:
      fill([](const StoredLabel& stored) { return vector_group_name(stored.label.setup); });
      break;
  }
  return list;
}

}  // namespace virtual_instrument

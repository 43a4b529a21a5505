#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "api/client_api.h"
#include "api/result_records.h"

// Lists of stored records, in the orders that a client can ask for.

namespace virtual_instrument {

/// The head of a stored record and the time when the record was begun, in seconds since 1970.
struct StoredLabel {
  kvr_TestLabel label;
  std::int64_t time;
};

enum class SortKey {
  kDateTime = kSortByDateTime,
  kTestId = kSortByTestId,
  kVectorGroup = kSortByVectorGroup,
};

/// Frees a list: its entries come from one new[], the list from one new.
struct FreeLabels {
  void operator()(kvr_TestLabelsList* list) const;
};
using Labels = std::unique_ptr<kvr_TestLabelsList, FreeLabels>;

/// Makes a list in the order of `key` from `labels`, which must be in the order in which the
/// records were begun. IDs and names of vector groups are compared byte by byte. Records with equal
/// keys stay in the order in which they were begun, in both directions.
Labels ordered_list(const std::vector<StoredLabel>& labels, SortKey key, bool ascending);

}  // namespace virtual_instrument

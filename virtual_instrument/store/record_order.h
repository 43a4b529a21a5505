#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "api/client_api.h"
#include "api/result_records.h"

// Lists of stored records, in the orders that a client can ask for.

namespace virtual_instrument {

/// The head of a stored record and when the record was begun, in seconds since 1970.
struct StoredLabel {
  kvr_TestLabel label;
  std::int64_t time;
};

enum class SortKey {
  kDateTime = kSortByDateTime,
  kTestId = kSortByTestId,
  kVectorGroup = kSortByVectorGroup,
};

/// A list's entries come from one new[], the list from one new.
struct FreeLabels {
  void operator()(kvr_TestLabelsList* list) const;
};
using Labels = std::unique_ptr<kvr_TestLabelsList, FreeLabels>;

/// `labels`, which come in the order in which the records were begun, as a list in the order of
/// `key`. IDs and names of vector groups are compared byte by byte. Records that are equal in the
/// key stand in the order in which they were begun, whichever way the list runs.
Labels ordered_list(const std::vector<StoredLabel>& labels, SortKey key, bool ascending);

}  // namespace virtual_instrument

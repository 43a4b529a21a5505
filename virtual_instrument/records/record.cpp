#include "virtual_instrument/records/record.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <tuple>

#include "api/client_api.h"
#include "virtual_instrument/records/text_field.h"
#include "virtual_instrument/records/time_text.h"

namespace virtual_instrument {
namespace {

/// Fills what a record and a list's entry have in common.
template <typename Target>
void fill_head(const RecordHead& head, Target& target) {
  fill_field(target.asset_id, head.asset_id);
  fill_field(target.group_id, head.group_id);
  fill_field(target.record_id, head.record_id);
  target.save_mode = head.save_mode;
  target.test_count = head.test_count;
  target.test_type = head.test_type;
  target.setup = head.setup;
  fill_field(target.timestamp, time_text(head.time, "%Y-%m-%d %H:%M:%S"));
}

struct FreeRecord {
  void operator()(kvr_TestRecord* record) const { free_wire_record(record); }
};
struct FreeList {
  void operator()(kvr_TestLabelsList* list) const { free_wire_list(list); }
};

/// An array of pointers to copies of all tests of one kind, or null if there are none. It is in its
/// place before it is filled, so that whoever frees the record finds all of it.
template <typename Data>
void fill_tests(const std::vector<RecordedTest>& tests, Data**& array) {
  if (tests.empty() || !std::holds_alternative<Data>(tests.front().data)) {
    return;
  }
  array = new Data*[tests.size()]();
  std::transform(tests.begin(), tests.end(), array,
                 [](const RecordedTest& test) { return new Data(std::get<Data>(test.data)); });
}

template <typename Data>
void free_tests(Data** array, std::uint32_t count) {
  for (std::uint32_t i = 0; array != nullptr && i < count; ++i) {
    delete array[i];
  }
  delete[] array;
}

char* new_text(const std::string& text) {
  char* copy = new char[text.size() + 1];
  *std::copy(text.begin(), text.end(), copy) = '\0';
  return copy;
}

using SortKey = std::tuple<std::int64_t, std::int64_t, std::int64_t, std::string_view>;

SortKey sort_key_of(const RecordHead& head, std::int32_t sort_key) {
  if (sort_key == kSortByDateTime) {
    return {head.time, 0, 0, head.record_id};
  }
  if (sort_key == kSortByTestId) {
    return {0, 0, 0, head.record_id};
  }
  return {head.setup.windings[0].winding_type, head.setup.windings[1].winding_type,
          head.setup.connections[0].clock, head.record_id};
}

}  // namespace

kvr_TestRecord* make_wire_record(const Record& record, bool with_raw_data) {
  std::unique_ptr<kvr_TestRecord, FreeRecord> wire(new kvr_TestRecord{});
  fill_head(record.head, *wire);
  wire->data_count = static_cast<std::uint32_t>(record.tests.size());
  fill_tests(record.tests, wire->data_ratio_1ph);
  fill_tests(record.tests, wire->data_ratio_3ph);
  if (with_raw_data) {
    std::string text;
    for (const RecordedTest& test : record.tests) {
      text += test.raw_data;
    }
    wire->raw_data = new_text(text);
  }
  return wire.release();
}

void free_wire_record(kvr_TestRecord* record) {
  if (record == nullptr) {
    return;
  }
  free_tests(record->data_ratio_1ph, record->data_count);
  free_tests(record->data_ratio_3ph, record->data_count);
  delete[] record->raw_data;
  delete record;
}

kvr_TestLabelsList* make_wire_list(const std::vector<RecordHead>& heads) {
  std::unique_ptr<kvr_TestLabelsList, FreeList> list(new kvr_TestLabelsList{});
  list->entries = new kvr_TestLabel[heads.size()]{};
  list->count = static_cast<std::uint32_t>(heads.size());
  for (std::size_t i = 0; i < heads.size(); ++i) {
    fill_head(heads[i], list->entries[i]);
  }
  return list.release();
}

void free_wire_list(kvr_TestLabelsList* list) {
  if (list != nullptr) {
    delete[] list->entries;
    delete list;
  }
}

bool sort_heads(std::vector<RecordHead>& heads, std::int32_t sort_key, bool ascending) {
  if (sort_key < kSortByDateTime || sort_key > kSortByVectorGroup) {
    return false;
  }
  std::sort(heads.begin(), heads.end(), [sort_key](const RecordHead& a, const RecordHead& b) {
    return sort_key_of(a, sort_key) < sort_key_of(b, sort_key);
  });
  if (!ascending) {
    std::reverse(heads.begin(), heads.end());
  }
  return true;
}

}  // namespace virtual_instrument

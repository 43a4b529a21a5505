#include "virtual_instrument/recording/record.h"

#include "virtual_instrument/recording/nested_records.h"
#include "virtual_instrument/vocabulary/text_field.h"
#include "virtual_instrument/vocabulary/time_text.h"

namespace virtual_instrument {
namespace {

// The record points to the array before it is filled, so that freeing the record always frees all
// of it.

void set_result(kvr_TestRecord& record, const kvr_TestData_Ratio_1ph& data) {
  record.data_ratio_1ph = new kvr_TestData_Ratio_1ph* [1] {};
  record.data_ratio_1ph[0] = new kvr_TestData_Ratio_1ph(data);
}

void set_result(kvr_TestRecord& record, const ThreePhaseRatio& data) {
  record.data_ratio_3ph = new kvr_TestData_Ratio_3ph* [1] {};
  record.data_ratio_3ph[0] = new_data(data);
}

}  // namespace

RecordNest new_record(const RecordHead& head) {
  RecordNest record(new kvr_TestRecord{});
  fill_field(record->asset_id, head.asset_id);
  fill_field(record->group_id, head.group_id);
  fill_field(record->record_id, head.record_id);
  record->save_mode = head.save_mode;
  record->test_count = 1;
  record->test_type = head.test_type;
  record->setup = head.setup;
  fill_field(record->timestamp, time_text(head.time, "%Y-%m-%d %H:%M:%S"));
  record->data_count = 1;
  return record;
}

RecordNest make_record(const RecordHead& head, const RecordedTest& test, bool with_raw_data) {
  RecordNest record = new_record(head);
  std::visit([&](const auto& data) { set_result(*record, data); }, test.data);
  if (with_raw_data) {
    record->raw_data = new_text(test.raw_data);
  }
  return record;
}

}  // namespace virtual_instrument

#include "virtual_instrument/recording/record.h"

#include <type_traits>

#include "virtual_instrument/recording/nested_records.h"
#include "virtual_instrument/vocabulary/text_field.h"
#include "virtual_instrument/vocabulary/time_text.h"

namespace virtual_instrument {
namespace {

/// The array of the record in which a result of its kind stands.
auto family(const kvr_TestRecord& /*record*/, const kvr_TestData_Ratio_1ph& /*data*/) {
  return &kvr_TestRecord::data_ratio_1ph;
}
auto family(const kvr_TestRecord& /*record*/, const ThreePhaseRatio& /*data*/) {
  return &kvr_TestRecord::data_ratio_3ph;
}
auto family(const kvr_TestRecord& record, const ResistanceTest& /*data*/) {
  return record.test_type == KVR_TEST_HEATRUN ? &kvr_TestRecord::data_heatrun
                                              : &kvr_TestRecord::data_resistance;
}
auto family(const kvr_TestRecord& /*record*/, const DemagTest& /*data*/) {
  return &kvr_TestRecord::data_demag;
}
auto family(const kvr_TestRecord& /*record*/, const ImpedanceTest& /*data*/) {
  return &kvr_TestRecord::data_impedance;
}
auto family(const kvr_TestRecord& /*record*/, const kvr_TestData_Efficiency& /*data*/) {
  return &kvr_TestRecord::data_efficiency;
}
auto family(const kvr_TestRecord& /*record*/, const kvr_TestData_MagneticBalance& /*data*/) {
  return &kvr_TestRecord::data_mbalance;
}
auto family(const kvr_TestRecord& /*record*/, const kvr_TestData_GoNoGo& /*data*/) {
  return &kvr_TestRecord::data_gonogo;
}
auto family(const kvr_TestRecord& /*record*/, const DynamicResistanceTest& /*data*/) {
  return &kvr_TestRecord::data_drm;
}

template <typename Data>
Data* new_data(const Data& data) {
  return new Data(data);
}

/// The record points to the array before it is filled, so that freeing the record always frees all
/// of it.
template <typename Result>
void set_result(kvr_TestRecord& record, const Result& result) {
  auto& results = record.*family(record, result);
  results = new std::remove_reference_t<decltype(*results)>[1] {};
  results[0] = new_data(result);
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

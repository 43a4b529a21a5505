#include "virtual_instrument/recording/nested_records.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "record_form/record_shape.h"

namespace virtual_instrument {
namespace {

/// Owns a result while it is built; pointers to parts that are not built yet are null.
struct FreeNest {
  template <typename Data>
  void operator()(Data* data) const {
    free_nest(data);
  }
};

template <typename Data>
using Nest = std::unique_ptr<Data, FreeNest>;

/// Allocates an array of null pointers and then fills it entry by entry, so that the result can be
/// freed at any moment.
template <typename Entry, typename Values, typename Make>
void fill_array(Entry**& array, std::uint32_t& count, const Values& values, Make make) {
  array = new Entry* [values.size()] {};
  count = static_cast<std::uint32_t>(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    make(array[i], values[i]);
  }
}

void make_point(kvr_TestData_Point*& entry, const ResistancePoint& point) {
  entry = new kvr_TestData_Point(point.data);
  entry->transition = nullptr;
  if (point.transition) {
    entry->transition = new kvr_TestData_Transition(*point.transition);
  }
}

void make_tap(kvr_TestData_Tap*& entry, const ResistanceTap& tap) {
  entry = new kvr_TestData_Tap{};
  entry->tap = tap.tap;
  fill_array(entry->points, entry->point_count, tap.points, make_point);
}

void make_taps(kvr_TestData_Taps*& entry, const std::vector<ResistanceTap>& taps) {
  if (!taps.empty()) {
    entry = new kvr_TestData_Taps{};
    fill_array(entry->taps, entry->count, taps, make_tap);
  }
}

}  // namespace

kvr_TestData_Ratio_3ph* new_data(const ThreePhaseRatio& result) {
  Nest<kvr_TestData_Ratio_3ph> data(new kvr_TestData_Ratio_3ph(result.data));
  data->step_up = nullptr;
  data->step_down = nullptr;
  if (result.step_up) {
    data->step_up = new kvr_TestData_Ratio_3ph(*result.step_up);
  }
  if (result.step_down) {
    data->step_down = new kvr_TestData_Ratio_3ph(*result.step_down);
  }
  return data.release();
}

kvr_TestData_Resistance* new_data(const ResistanceTest& test) {
  Nest<kvr_TestData_Resistance> data(new kvr_TestData_Resistance{});
  data->duration_ms = test.duration_ms;
  data->sides = new kvr_TestData_Sides{};
  make_taps(data->sides->primary, test.sides[0]);
  make_taps(data->sides->secondary, test.sides[1]);
  make_taps(data->sides->tertiary, test.sides[2]);
  return data.release();
}

kvr_TestData_Demag* new_data(const DemagTest& test) {
  Nest<kvr_TestData_Demag> data(new kvr_TestData_Demag{});
  data->duration_ms = test.duration_ms;
  fill_array(data->phases, data->phase_count, test.phases,
             [](kvr_TestData_Demag_Phase*& entry, const kvr_TestData_Demag_Phase& phase) {
               entry = new kvr_TestData_Demag_Phase(phase);
             });
  return data.release();
}

kvr_TestData_Impedance* new_data(const ImpedanceTest& test) {
  Nest<kvr_TestData_Impedance> data(new kvr_TestData_Impedance(test.data));
  data->tests = nullptr;
  data->tests = new kvr_TestData_Impedance_List{};
  data->tests->tests = new kvr_TestData_Impedance_SingleTest[test.tests.size()];
  data->tests->count = static_cast<std::uint32_t>(test.tests.size());
  std::copy(test.tests.begin(), test.tests.end(), data->tests->tests);
  return data.release();
}

kvr_TestData_Drm* new_data(const DynamicResistanceTest& test) {
  Nest<kvr_TestData_Drm> data(new kvr_TestData_Drm(test.data));
  data->first_transition = nullptr;
  if (!test.transitions.empty()) {
    data->first_transition = new kvr_TestData_Drm_Transition[test.transitions.size()];
    std::copy(test.transitions.begin(), test.transitions.end(), data->first_transition);
  }
  data->transition_count = static_cast<std::uint32_t>(test.transitions.size());
  return data.release();
}

}  // namespace virtual_instrument

#include "virtual_instrument/recording/nested_records.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace virtual_instrument {
namespace {

/// Frees a nest that is not finished: what is not there yet is null.
struct DeleteData {
  template <typename Data>
  void operator()(Data* data) const {
    delete_data(data);
  }
};

template <typename Data>
using Nest = std::unique_ptr<Data, DeleteData>;

/// Puts an array of null pointers in its place, then fills it entry by entry, so that whoever frees
/// the nest finds all of it.
template <typename Entry, typename Values, typename Make>
void fill_array(Entry**& array, std::uint32_t& count, const Values& values, Make make) {
  array = new Entry* [values.size()] {};
  count = static_cast<std::uint32_t>(values.size());
  for (std::size_t place = 0; place < values.size(); ++place) {
    make(array[place], values[place]);
  }
}

void make_point(kvr_TestData_Point*& place, const ResistancePoint& point) {
  place = new kvr_TestData_Point(point.data);
  place->transition = nullptr;
  if (point.transition) {
    place->transition = new kvr_TestData_Transition(*point.transition);
  }
}

void make_tap(kvr_TestData_Tap*& place, const ResistanceTap& tap) {
  place = new kvr_TestData_Tap{};
  place->tap = tap.tap;
  fill_array(place->points, place->point_count, tap.points, make_point);
}

void make_taps(kvr_TestData_Taps*& place, const std::vector<ResistanceTap>& taps) {
  if (!taps.empty()) {
    place = new kvr_TestData_Taps{};
    fill_array(place->taps, place->count, taps, make_tap);
  }
}

template <typename Entry, typename Delete>
void delete_array(Entry** array, std::uint32_t count, Delete delete_entry) {
  for (std::uint32_t place = 0; array != nullptr && place < count; ++place) {
    if (array[place] != nullptr) {
      delete_entry(array[place]);
    }
  }
  delete[] array;
}

void delete_point(kvr_TestData_Point* point) {
  delete point->transition;
  delete point;
}

void delete_tap(kvr_TestData_Tap* tap) {
  delete_array(tap->points, tap->point_count, delete_point);
  delete tap;
}

void delete_taps(kvr_TestData_Taps* taps) {
  if (taps != nullptr) {
    delete_array(taps->taps, taps->count, delete_tap);
    delete taps;
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
             [](kvr_TestData_Demag_Phase*& place, const kvr_TestData_Demag_Phase& phase) {
               place = new kvr_TestData_Demag_Phase(phase);
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

void delete_data(kvr_TestData_Ratio_3ph* data) {
  if (data != nullptr) {
    delete_data(data->step_up);
    delete_data(data->step_down);
    delete data;
  }
}

void delete_data(kvr_TestData_Resistance* data) {
  if (data == nullptr) {
    return;
  }
  if (data->sides != nullptr) {
    delete_taps(data->sides->primary);
    delete_taps(data->sides->secondary);
    delete_taps(data->sides->tertiary);
    delete data->sides;
  }
  delete data;
}

void delete_data(kvr_TestData_Demag* data) {
  if (data != nullptr) {
    delete_array(data->phases, data->phase_count,
                 [](kvr_TestData_Demag_Phase* phase) { delete phase; });
    delete data;
  }
}

void delete_data(kvr_TestData_Impedance* data) {
  if (data == nullptr) {
    return;
  }
  if (data->tests != nullptr) {
    delete[] data->tests->tests;
    delete data->tests;
  }
  delete data;
}

void delete_data(kvr_TestData_Drm* data) {
  if (data != nullptr) {
    delete[] data->first_transition;
    delete data;
  }
}

}  // namespace virtual_instrument

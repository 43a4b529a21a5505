#include <cstring>
#include <memory>

#include "utils/utils.h"

namespace {

struct Dispose {
  template <class Record>
  void operator()(Record* record) const {
    Utils::free_record(record);
  }
};

/// Frees a record without pointers.
struct DisposeFlat {
  template <class Record>
  void operator()(Record* record) const {
    delete record;
  }
};

/// A clone that is being filled. It owns all that its pointers reach; the others are null.
template <class Record>
using UnfinishedClone = std::unique_ptr<Record, Dispose>;

/// A byte copy of a record's own block. Its pointers are still those of the source.
template <class Record>
UnfinishedClone<Record> clone_block(const Record& source) {
  UnfinishedClone<Record> clone(new Record);
  std::memcpy(clone.get(), &source, sizeof(Record));
  return clone;
}

/// Sets `target` to an array of clones. The array starts as null pointers, so that it can be freed
/// after a failure part way.
template <class Entry>
void clone_entries(Entry* const* source, std::uint32_t count, Entry**& target) {
  target = nullptr;
  if (source == nullptr) {
    return;
  }
  target = new Entry*[count]();
  for (std::uint32_t i = 0; i < count; ++i) {
    target[i] = Utils::clone_record(source[i]);
  }
}

template <class Entry, class DisposeEntry = Dispose>
void free_entries(Entry** entries, std::uint32_t count, DisposeEntry dispose = {}) {
  if (entries == nullptr) {
    return;
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    dispose(entries[i]);
  }
  delete[] entries;
}

void free_demag(kvr_TestData_Demag* record) {
  if (record == nullptr) {
    return;
  }
  free_entries(record->phases, record->phase_count, DisposeFlat{});
  delete record;
}

void free_drm(kvr_TestData_Drm* record) {
  if (record == nullptr) {
    return;
  }
  delete[] record->first_transition;
  delete record;
}

}  // namespace

kvr_TestData_Ratio_3ph* Utils::clone_record(const kvr_TestData_Ratio_3ph* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  clone->step_up = nullptr;
  clone->step_down = nullptr;
  clone->step_up = clone_record(source->step_up);
  clone->step_down = clone_record(source->step_down);
  return clone.release();
}

kvr_TestData_Impedance* Utils::clone_record(const kvr_TestData_Impedance* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  clone->tests = nullptr;
  clone->tests = clone_record(source->tests);
  return clone.release();
}

kvr_TestData_Impedance_List* Utils::clone_record(const kvr_TestData_Impedance_List* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  clone->tests = nullptr;
  if (source->tests != nullptr) {
    clone->tests = new kvr_TestData_Impedance_SingleTest[source->count];
    std::memcpy(clone->tests, source->tests, source->count * sizeof(*source->tests));
  }
  return clone.release();
}

kvr_TestData_MagneticBalance* Utils::clone_record(const kvr_TestData_MagneticBalance* source) {
  return source == nullptr ? nullptr : clone_block(*source).release();
}

kvr_TestData_Resistance* Utils::clone_record(const kvr_TestData_Resistance* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  clone->sides = nullptr;
  clone->sides = clone_record(source->sides);
  return clone.release();
}

kvr_TestData_Sides* Utils::clone_record(const kvr_TestData_Sides* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  *clone = {};
  clone->primary = clone_record(source->primary);
  clone->secondary = clone_record(source->secondary);
  clone->tertiary = clone_record(source->tertiary);
  return clone.release();
}

kvr_TestData_Taps* Utils::clone_record(const kvr_TestData_Taps* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  clone_entries(source->taps, source->count, clone->taps);
  return clone.release();
}

kvr_TestData_Tap* Utils::clone_record(const kvr_TestData_Tap* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  clone_entries(source->points, source->point_count, clone->points);
  return clone.release();
}

kvr_TestData_Point* Utils::clone_record(const kvr_TestData_Point* source) {
  if (source == nullptr) {
    return nullptr;
  }
  auto clone = clone_block(*source);
  clone->transition = nullptr;
  if (source->transition != nullptr) {
    clone->transition = new kvr_TestData_Transition(*source->transition);
  }
  return clone.release();
}

void Utils::free_record(kvr_TestData_Ratio_3ph* record) {
  if (record == nullptr) {
    return;
  }
  free_record(record->step_up);
  free_record(record->step_down);
  delete record;
}

void Utils::free_record(kvr_TestData_Impedance* record) {
  if (record == nullptr) {
    return;
  }
  free_record(record->tests);
  delete record;
}

void Utils::free_record(kvr_TestData_Impedance_List* record) {
  if (record == nullptr) {
    return;
  }
  delete[] record->tests;
  delete record;
}

void Utils::free_record(kvr_TestData_MagneticBalance* record) { delete record; }

void Utils::free_record(kvr_TestData_Resistance* record) {
  if (record == nullptr) {
    return;
  }
  free_record(record->sides);
  delete record;
}

void Utils::free_record(kvr_TestData_Sides* record) {
  if (record == nullptr) {
    return;
  }
  free_record(record->primary);
  free_record(record->secondary);
  free_record(record->tertiary);
  delete record;
}

void Utils::free_record(kvr_TestData_Taps* record) {
  if (record == nullptr) {
    return;
  }
  free_entries(record->taps, record->count);
  delete record;
}

void Utils::free_record(kvr_TestData_Tap* record) {
  if (record == nullptr) {
    return;
  }
  free_entries(record->points, record->point_count);
  delete record;
}

void Utils::free_record(kvr_TestData_Point* record) {
  if (record == nullptr) {
    return;
  }
  delete record->transition;
  delete record;
}

void Utils::free_record(kvr_TestLabelsList* list) {
  if (list == nullptr) {
    return;
  }
  delete[] list->entries;
  delete list;
}

void Utils::free_record(kvr_TestRecord* record) {
  if (record == nullptr) {
    return;
  }
  const std::uint32_t count = record->data_count;
  free_entries(record->data_ratio_3ph, count);
  free_entries(record->data_ratio_1ph, count, DisposeFlat{});
  free_entries(record->data_mbalance, count);
  free_entries(record->data_resistance, count);
  free_entries(record->data_demag, count, free_demag);
  free_entries(record->data_efficiency, count, DisposeFlat{});
  free_entries(record->data_impedance, count);
  free_entries(record->data_drm, count, free_drm);
  free_entries(record->data_heatrun, count);
  free_entries(record->data_gonogo, count, DisposeFlat{});
  delete[] record->raw_data;
  delete record;
}

void Utils::free_record(kvr_TestRecord** records, std::uint32_t count) {
  free_entries(records, count);
}

// Deliberate: the temperatures and flags after the first 392 bytes stay the target's own.
void Utils::copy_setup(const kvr_TestSetup& source, kvr_TestSetup& target) {
  constexpr std::size_t kCopiedSize = 392;
  static_assert(kCopiedSize == offsetof(kvr_TestSetup, reserved_392));
  std::memcpy(&target, &source, kCopiedSize);
}

void Utils::copy_winding(const kvr_WindingSetup& source, kvr_WindingSetup& target) {
  target = source;
}

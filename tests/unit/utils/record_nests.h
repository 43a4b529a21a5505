#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <type_traits>
#include <vector>

#include "utils/utils.h"

// Results with all that hangs from them, allocated as Utils::free_record() frees them and filled
// with different byte values.

using Bytes = std::vector<unsigned char>;

/// A record from new, filled with different byte values.
template <class Record>
Record* new_patterned() {
  static_assert(std::is_trivially_copyable_v<Record>);
  static unsigned char value = 0;
  auto* const record = new Record;
  auto* const bytes = reinterpret_cast<unsigned char*>(record);
  std::generate(bytes, bytes + sizeof(Record), [] { return ++value; });
  return record;
}

/// The bytes of a record, with those of its pointers at `pointers` as zero.
template <class Record>
Bytes plain_bytes(const Record* record, std::initializer_list<std::size_t> pointers) {
  const auto* const first = reinterpret_cast<const unsigned char*>(record);
  Bytes bytes(first, first + sizeof(Record));
  for (const std::size_t offset : pointers) {
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), sizeof(void*), '\0');
  }
  return bytes;
}

template <class Entry>
Entry** new_array(std::initializer_list<Entry*> entries) {
  auto** const array = new Entry*[entries.size()];
  std::copy(entries.begin(), entries.end(), array);
  return array;
}

inline kvr_TestData_Ratio_3ph* new_ratio(kvr_TestData_Ratio_3ph* up, kvr_TestData_Ratio_3ph* down) {
  auto* const record = new_patterned<kvr_TestData_Ratio_3ph>();
  record->step_up = up;
  record->step_down = down;
  return record;
}

inline kvr_TestData_Impedance_List* new_impedance_list(std::uint32_t count) {
  auto* const list = new_patterned<kvr_TestData_Impedance_List>();
  list->tests = new kvr_TestData_Impedance_SingleTest[count];
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::unique_ptr<kvr_TestData_Impedance_SingleTest> test(
        new_patterned<kvr_TestData_Impedance_SingleTest>());
    list->tests[i] = *test;
  }
  list->count = count;
  return list;
}

inline kvr_TestData_Impedance* new_impedance(kvr_TestData_Impedance_List* tests) {
  auto* const record = new_patterned<kvr_TestData_Impedance>();
  record->tests = tests;
  return record;
}

enum TransitionOf { kNoTransition, kATransition };

inline kvr_TestData_Point* new_point(TransitionOf transition) {
  auto* const point = new_patterned<kvr_TestData_Point>();
  point->transition =
      transition == kATransition ? new_patterned<kvr_TestData_Transition>() : nullptr;
  return point;
}

inline kvr_TestData_Tap* new_tap(std::initializer_list<kvr_TestData_Point*> points) {
  auto* const tap = new_patterned<kvr_TestData_Tap>();
  tap->points = new_array(points);
  tap->point_count = static_cast<std::uint32_t>(points.size());
  return tap;
}

inline kvr_TestData_Taps* new_taps(std::initializer_list<kvr_TestData_Tap*> entries) {
  auto* const taps = new_patterned<kvr_TestData_Taps>();
  taps->taps = new_array(entries);
  taps->count = static_cast<std::uint32_t>(entries.size());
  return taps;
}

/// A list with a count, but without an array.
inline kvr_TestData_Taps* new_taps_without_array(std::uint32_t count) {
  auto* const taps = new_patterned<kvr_TestData_Taps>();
  taps->taps = nullptr;
  taps->count = count;
  return taps;
}

inline kvr_TestData_Sides* new_sides(kvr_TestData_Taps* primary, kvr_TestData_Taps* secondary,
                                     kvr_TestData_Taps* tertiary) {
  auto* const sides = new kvr_TestData_Sides;
  *sides = {primary, secondary, tertiary};
  return sides;
}

inline kvr_TestData_Resistance* new_resistance(kvr_TestData_Sides* sides) {
  auto* const record = new_patterned<kvr_TestData_Resistance>();
  record->sides = sides;
  return record;
}

/// Sides with lists of all kinds: full, with gaps, empty, without an array, null.
inline kvr_TestData_Resistance* new_full_resistance() {
  kvr_TestData_Tap* const no_points = new_tap({});
  kvr_TestData_Tap* const no_array = new_tap({});
  delete[] std::exchange(no_array->points, nullptr);
  no_array->point_count = 3;
  return new_resistance(
      new_sides(new_taps({new_tap({new_point(kATransition), nullptr, new_point(kNoTransition)}),
                          nullptr, no_points, no_array, new_tap({new_point(kATransition)})}),
                nullptr, new_taps_without_array(4)));
}

/// The result, its sides and their two lists; the one array of taps and the four taps in it; their
/// three arrays of points, three points and two transitions.
inline constexpr std::size_t kBlocksOfFullResistance = (1 + 1 + 2) + (1 + 4) + (3 + 3 + 2);

/// A block and the block that points to it.
struct Link {
  const void* child;
  const void* parent;
};

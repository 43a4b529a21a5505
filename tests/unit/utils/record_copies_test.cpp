#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <set>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/counted_new.h"
#include "utils/utils.h"

namespace {

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

// --- Building nests ------------------------------------------------------------------------------

template <class Entry>
Entry** new_array(std::initializer_list<Entry*> entries) {
  auto** const array = new Entry*[entries.size()];
  std::copy(entries.begin(), entries.end(), array);
  return array;
}

kvr_TestData_Ratio_3ph* new_ratio(kvr_TestData_Ratio_3ph* up, kvr_TestData_Ratio_3ph* down) {
  auto* const record = new_patterned<kvr_TestData_Ratio_3ph>();
  record->step_up = up;
  record->step_down = down;
  return record;
}

kvr_TestData_Impedance_List* new_impedance_list(std::uint32_t count) {
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

kvr_TestData_Impedance* new_impedance(kvr_TestData_Impedance_List* tests) {
  auto* const record = new_patterned<kvr_TestData_Impedance>();
  record->tests = tests;
  return record;
}

enum TransitionOf { kNoTransition, kATransition };

kvr_TestData_Point* new_point(TransitionOf transition) {
  auto* const point = new_patterned<kvr_TestData_Point>();
  point->transition =
      transition == kATransition ? new_patterned<kvr_TestData_Transition>() : nullptr;
  return point;
}

kvr_TestData_Tap* new_tap(std::initializer_list<kvr_TestData_Point*> points) {
  auto* const tap = new_patterned<kvr_TestData_Tap>();
  tap->points = new_array(points);
  tap->point_count = static_cast<std::uint32_t>(points.size());
  return tap;
}

kvr_TestData_Taps* new_taps(std::initializer_list<kvr_TestData_Tap*> entries) {
  auto* const taps = new_patterned<kvr_TestData_Taps>();
  taps->taps = new_array(entries);
  taps->count = static_cast<std::uint32_t>(entries.size());
  return taps;
}

/// A list with a count, but without an array.
kvr_TestData_Taps* new_taps_without_array(std::uint32_t count) {
  auto* const taps = new_patterned<kvr_TestData_Taps>();
  taps->taps = nullptr;
  taps->count = count;
  return taps;
}

kvr_TestData_Sides* new_sides(kvr_TestData_Taps* primary, kvr_TestData_Taps* secondary,
                              kvr_TestData_Taps* tertiary) {
  auto* const sides = new kvr_TestData_Sides;
  *sides = {primary, secondary, tertiary};
  return sides;
}

kvr_TestData_Resistance* new_resistance(kvr_TestData_Sides* sides) {
  auto* const record = new_patterned<kvr_TestData_Resistance>();
  record->sides = sides;
  return record;
}

/// Sides with lists of all kinds: full, with gaps, empty, without an array, null.
kvr_TestData_Resistance* new_full_resistance() {
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
constexpr std::size_t kBlocksOfFullResistance = (1 + 1 + 2) + (1 + 4) + (3 + 3 + 2);

// --- Walking nests -------------------------------------------------------------------------------

/// A block and the block that points to it.
struct Link {
  const void* child;
  const void* parent;
};

/// Compares a nest with its copy and collects the blocks of the copy.
class Comparison {
 public:
  std::set<const void*> blocks;
  std::vector<Link> links;  ///< of the copy

  void compare(const kvr_TestData_Ratio_3ph* source, const kvr_TestData_Ratio_3ph* copy,
               const void* parent = nullptr) {
    if (!compare_block(source, copy, parent, {1728, 1736})) {
      return;
    }
    compare(source->step_up, copy->step_up, copy);
    compare(source->step_down, copy->step_down, copy);
  }

  void compare(const kvr_TestData_Impedance* source, const kvr_TestData_Impedance* copy,
               const void* parent = nullptr) {
    if (compare_block(source, copy, parent, {656})) {
      compare(source->tests, copy->tests, copy);
    }
  }

  void compare(const kvr_TestData_Impedance_List* source, const kvr_TestData_Impedance_List* copy,
               const void* parent = nullptr) {
    if (!compare_block(source, copy, parent, {0}) ||
        !compare_array(source->tests, copy->tests, copy)) {
      return;
    }
    EXPECT_EQ(std::memcmp(source->tests, copy->tests, source->count * 824U), 0);
  }

  void compare(const kvr_TestData_MagneticBalance* source, const kvr_TestData_MagneticBalance* copy,
               const void* parent = nullptr) {
    compare_block(source, copy, parent, {});
  }

  void compare(const kvr_TestData_Resistance* source, const kvr_TestData_Resistance* copy,
               const void* parent = nullptr) {
    if (compare_block(source, copy, parent, {624})) {
      compare(source->sides, copy->sides, copy);
    }
  }

  void compare(const kvr_TestData_Sides* source, const kvr_TestData_Sides* copy,
               const void* parent = nullptr) {
    if (compare_block(source, copy, parent, {0, 8, 16})) {
      compare(source->primary, copy->primary, copy);
      compare(source->secondary, copy->secondary, copy);
      compare(source->tertiary, copy->tertiary, copy);
    }
  }

  void compare(const kvr_TestData_Taps* source, const kvr_TestData_Taps* copy,
               const void* parent = nullptr) {
    if (compare_block(source, copy, parent, {0})) {
      compare_entries(source->taps, copy->taps, source->count, copy);
    }
  }

  void compare(const kvr_TestData_Tap* source, const kvr_TestData_Tap* copy,
               const void* parent = nullptr) {
    if (compare_block(source, copy, parent, {8})) {
      compare_entries(source->points, copy->points, source->point_count, copy);
    }
  }

  void compare(const kvr_TestData_Point* source, const kvr_TestData_Point* copy,
               const void* parent = nullptr) {
    if (compare_block(source, copy, parent, {104})) {
      compare_block(source->transition, copy->transition, copy, {});
    }
  }

 private:
  /// False when there is nothing below to compare.
  template <class Pointer>
  bool compare_array(const Pointer* source, const Pointer* copy, const void* parent) {
    EXPECT_EQ(source == nullptr, copy == nullptr);
    if (source == nullptr || copy == nullptr) {
      return false;
    }
    EXPECT_NE(static_cast<const void*>(source), static_cast<const void*>(copy));
    EXPECT_TRUE(counted_new::is_live(copy));
    EXPECT_TRUE(blocks.insert(copy).second) << "a block is shared";
    links.push_back({copy, parent});
    return true;
  }

  template <class Record>
  bool compare_block(const Record* source, const Record* copy, const void* parent,
                     std::initializer_list<std::size_t> pointers) {
    if (!compare_array(source, copy, parent)) {
      return false;
    }
    EXPECT_EQ(plain_bytes(source, pointers), plain_bytes(copy, pointers));
    return true;
  }

  template <class Entry>
  void compare_entries(Entry* const* source, Entry* const* copy, std::uint32_t count,
                       const void* parent) {
    if (!compare_array(source, copy, parent)) {
      return;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
      compare(source[i], copy[i], copy);
    }
  }
};

/// Clones a nest of `blocks` blocks and frees both, with the checks that apply to every nest.
template <class Record>
void expect_good_copy(Record* source, std::size_t blocks) {
  const std::size_t before = counted_new::live_blocks();
  Record* const copy = Utils::clone_record(static_cast<const Record*>(source));
  EXPECT_EQ(counted_new::live_blocks() - before, blocks);

  Comparison comparison;
  comparison.compare(source, copy);
  EXPECT_EQ(comparison.blocks.size(), blocks);

  // Innermost first.
  counted_new::Recording recording;
  Utils::free_record(copy);
  recording.stop();
  const std::vector<const void*> freed = recording.freed_blocks();
  const auto place = [&](const void* block) {
    return std::find(freed.begin(), freed.end(), block) - freed.begin();
  };
  EXPECT_EQ(std::set<const void*>(freed.begin(), freed.end()), comparison.blocks);
  EXPECT_EQ(freed.size(), blocks);
  for (const Link& link : comparison.links) {
    if (link.parent != nullptr) {
      EXPECT_LT(place(link.child), place(link.parent));
    }
  }
  EXPECT_EQ(freed.back(), copy);

  Utils::free_record(source);
}

/// Lets every allocation of a copy fail in turn; that one alone, or all from there on.
template <class Record>
void expect_no_leak(Record* source, std::size_t blocks) {
  for (const auto duration : {counted_new::Failing::kOnce, counted_new::Failing::kForEver}) {
    for (std::size_t nth = 1; nth <= blocks + 1; ++nth) {
      const std::size_t before = counted_new::live_blocks();
      Record* copy = nullptr;
      bool failed = false;
      {
        counted_new::Failing failing(nth, duration);
        try {
          copy = Utils::clone_record(static_cast<const Record*>(source));
        } catch (const std::bad_alloc&) {
          failed = true;
        }
      }
      EXPECT_EQ(failed, nth <= blocks) << "allocation " << nth;
      Utils::free_record(copy);
      EXPECT_EQ(counted_new::live_blocks(), before) << "allocation " << nth;
    }
  }
  Utils::free_record(source);
}

// --- Copies --------------------------------------------------------------------------------------

template <class Record>
Record* clone_of_null() {
  return Utils::clone_record(static_cast<const Record*>(nullptr));
}

TEST(CloneRecord, IsNullForNull) {
  EXPECT_EQ(clone_of_null<kvr_TestData_Ratio_3ph>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_Impedance>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_Impedance_List>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_MagneticBalance>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_Resistance>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_Sides>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_Taps>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_Tap>(), nullptr);
  EXPECT_EQ(clone_of_null<kvr_TestData_Point>(), nullptr);
}

TEST(CloneRecord, CopiesARatioResult) { expect_good_copy(new_ratio(nullptr, nullptr), 1); }

TEST(CloneRecord, FollowsNestedRatioResults) {
  expect_good_copy(new_ratio(new_ratio(nullptr, new_ratio(nullptr, nullptr)), nullptr), 3);
  expect_good_copy(new_ratio(new_ratio(new_ratio(nullptr, nullptr), new_ratio(nullptr, nullptr)),
                             new_ratio(nullptr, nullptr)),
                   5);
}

TEST(CloneRecord, FollowsADeepNest) {
  constexpr std::size_t kDepth = 1000;
  kvr_TestData_Ratio_3ph* nest = nullptr;
  for (std::size_t i = 0; i < kDepth; ++i) {
    nest = i % 2 == 0 ? new_ratio(nest, nullptr) : new_ratio(nullptr, nest);
  }
  expect_good_copy(nest, kDepth);
}

TEST(CloneRecord, CopiesAnImpedanceResult) {
  expect_good_copy(new_impedance(nullptr), 1);
  expect_good_copy(new_impedance(new_impedance_list(3)), 3);
  expect_good_copy(new_impedance_list(0), 2);
  kvr_TestData_Impedance_List* const no_array = new_impedance_list(2);
  delete[] std::exchange(no_array->tests, nullptr);
  expect_good_copy(no_array, 1);
}

TEST(CloneRecord, CopiesAMagneticBalanceFlat) {
  expect_good_copy(new_patterned<kvr_TestData_MagneticBalance>(), 1);
}

TEST(CloneRecord, CopiesAResistanceResultWithAllItsLists) {
  expect_good_copy(new_resistance(nullptr), 1);
  expect_good_copy(new_resistance(new_sides(nullptr, nullptr, nullptr)), 2);
  expect_good_copy(new_full_resistance(), kBlocksOfFullResistance);
}

TEST(CloneRecord, CopiesThePartsOfAResistanceResult) {
  expect_good_copy(new_sides(new_taps({}), new_taps({nullptr}), new_taps({new_tap({})})), 9);
  expect_good_copy(new_taps({nullptr, new_tap({nullptr, new_point(kNoTransition)})}), 5);
  expect_good_copy(new_tap({new_point(kATransition), nullptr}), 4);
  expect_good_copy(new_point(kNoTransition), 1);
  expect_good_copy(new_point(kATransition), 2);
}

TEST(CloneRecord, KeepsANullEntryInItsPlace) {
  kvr_TestData_Taps* const source =
      new_taps({new_tap({}), nullptr, new_tap({nullptr, new_point(kNoTransition)})});
  kvr_TestData_Taps* const copy = Utils::clone_record(source);
  EXPECT_NE(copy->taps[0], nullptr);
  EXPECT_EQ(copy->taps[1], nullptr);
  EXPECT_EQ(copy->taps[2]->points[0], nullptr);
  EXPECT_NE(copy->taps[2]->points[1], nullptr);
  Utils::free_record(source);
  Utils::free_record(copy);
}

TEST(CloneRecord, OutlivesItsSource) {
  kvr_TestData_Tap* const source = new_tap({new_point(kATransition)});
  source->points[0]->transition->from = 7;
  kvr_TestData_Tap* const copy = Utils::clone_record(source);
  Utils::free_record(source);
  EXPECT_EQ(copy->points[0]->transition->from, 7);
  Utils::free_record(copy);
}

TEST(CloneRecord, AllocatesBlocksOfTheRecordsSizes) {
  const auto sizes_of_copy = [](auto* source) {
    counted_new::Recording recording;
    auto* const copy = Utils::clone_record(source);
    recording.stop();
    std::vector<std::size_t> sizes = recording.allocated_sizes();
    Utils::free_record(copy);
    Utils::free_record(source);
    return sizes;
  };
  using Sizes = std::vector<std::size_t>;
  EXPECT_EQ(sizes_of_copy(new_ratio(nullptr, new_ratio(nullptr, nullptr))), (Sizes{1752, 1752}));
  EXPECT_EQ(sizes_of_copy(new_impedance(new_impedance_list(3))), (Sizes{664, 16, 2472}));
  EXPECT_EQ(sizes_of_copy(new_patterned<kvr_TestData_MagneticBalance>()), (Sizes{1720}));
  EXPECT_EQ(sizes_of_copy(new_resistance(new_sides(
                nullptr, new_taps({nullptr, new_tap({new_point(kATransition)})}), nullptr))),
            (Sizes{632, 24, 16, 16, 24, 8, 112, 24}));
}

TEST(CloneRecord, LeaksNothingWhenMemoryRunsOut) {
  expect_no_leak(
      new_ratio(new_ratio(nullptr, new_ratio(nullptr, nullptr)), new_ratio(nullptr, nullptr)), 4);
  expect_no_leak(new_impedance(new_impedance_list(3)), 3);
  expect_no_leak(new_patterned<kvr_TestData_MagneticBalance>(), 1);
  expect_no_leak(new_full_resistance(), kBlocksOfFullResistance);
  expect_no_leak(new_sides(new_taps({}), nullptr, new_taps({new_tap({})})), 7);
}

TEST(CloneRecord, FailsForACountThatIsTooLarge) {
  kvr_TestData_Impedance_List* const list = new_impedance_list(1);
  list->count = 0xFFFFFFFF;
  const std::size_t before = counted_new::live_blocks();
  EXPECT_THROW(Utils::clone_record(list), std::bad_alloc);
  EXPECT_EQ(counted_new::live_blocks(), before);
  Utils::free_record(list);
}

// --- Disposal ------------------------------------------------------------------------------------

template <class Record>
void free_null() {
  Utils::free_record(static_cast<Record*>(nullptr));
}

TEST(FreeRecord, PassesOverNull) {
  const std::size_t before = counted_new::live_blocks();
  free_null<kvr_TestData_Ratio_3ph>();
  free_null<kvr_TestData_Impedance>();
  free_null<kvr_TestData_Impedance_List>();
  free_null<kvr_TestData_MagneticBalance>();
  free_null<kvr_TestData_Resistance>();
  free_null<kvr_TestData_Sides>();
  free_null<kvr_TestData_Taps>();
  free_null<kvr_TestData_Tap>();
  free_null<kvr_TestData_Point>();
  free_null<kvr_TestLabelsList>();
  free_null<kvr_TestRecord>();
  Utils::free_record(static_cast<kvr_TestRecord**>(nullptr), 3);
  EXPECT_EQ(counted_new::live_blocks(), before);
}

kvr_TestLabelsList* new_labels_list(std::uint32_t count) {
  return new kvr_TestLabelsList{new kvr_TestLabel[count], count};
}

TEST(FreeRecord, FreesAListOfRecordsWithItsEntries) {
  const std::size_t before = counted_new::live_blocks();
  kvr_TestLabelsList* const list = new_labels_list(3);
  const kvr_TestLabel* const entries = list->entries;
  counted_new::Recording recording;
  Utils::free_record(list);
  recording.stop();
  EXPECT_EQ(recording.freed_blocks(), (std::vector<const void*>{entries, list}));
  Utils::free_record(new kvr_TestLabelsList{nullptr, 3});
  Utils::free_record(new_labels_list(0));
  EXPECT_EQ(counted_new::live_blocks(), before);
}

char* new_text(std::string_view text) {
  char* const copy = new char[text.size() + 1]();
  text.copy(copy, text.size());
  return copy;
}

kvr_TestData_Demag* new_demag() {
  auto* const record = new_patterned<kvr_TestData_Demag>();
  record->phases =
      new_array<kvr_TestData_Demag_Phase>({new_patterned<kvr_TestData_Demag_Phase>(), nullptr,
                                           new_patterned<kvr_TestData_Demag_Phase>()});
  record->phase_count = 3;
  return record;
}

kvr_TestData_Drm* new_drm(std::uint32_t transitions) {
  auto* const record = new_patterned<kvr_TestData_Drm>();
  record->first_transition =
      transitions == 0 ? nullptr : new kvr_TestData_Drm_Transition[transitions];
  record->transition_count = transitions;
  return record;
}

/// A record with three entries in each array, the middle one null.
kvr_TestRecord* new_full_record() {
  auto* const record = new kvr_TestRecord{};
  record->data_count = 3;
  record->data_ratio_3ph = new_array<kvr_TestData_Ratio_3ph>(
      {new_ratio(new_ratio(nullptr, nullptr), nullptr), nullptr, new_ratio(nullptr, nullptr)});
  record->data_ratio_1ph = new_array<kvr_TestData_Ratio_1ph>(
      {new_patterned<kvr_TestData_Ratio_1ph>(), nullptr, new_patterned<kvr_TestData_Ratio_1ph>()});
  record->data_mbalance = new_array<kvr_TestData_MagneticBalance>(
      {new_patterned<kvr_TestData_MagneticBalance>(), nullptr,
       new_patterned<kvr_TestData_MagneticBalance>()});
  record->data_resistance =
      new_array<kvr_TestData_Resistance>({new_full_resistance(), nullptr, new_resistance(nullptr)});
  auto* const empty_demag = new_patterned<kvr_TestData_Demag>();
  empty_demag->phases = nullptr;
  record->data_demag = new_array<kvr_TestData_Demag>({new_demag(), nullptr, empty_demag});
  record->data_efficiency =
      new_array<kvr_TestData_Efficiency>({new_patterned<kvr_TestData_Efficiency>(), nullptr,
                                          new_patterned<kvr_TestData_Efficiency>()});
  record->data_impedance = new_array<kvr_TestData_Impedance>(
      {new_impedance(new_impedance_list(2)), nullptr, new_impedance(nullptr)});
  record->data_drm = new_array<kvr_TestData_Drm>({new_drm(2), nullptr, new_drm(0)});
  record->data_heatrun =
      new_array<kvr_TestData_Resistance>({new_resistance(nullptr), nullptr, new_full_resistance()});
  record->data_gonogo = new_array<kvr_TestData_GoNoGo>(
      {new_patterned<kvr_TestData_GoNoGo>(), nullptr, new_patterned<kvr_TestData_GoNoGo>()});
  record->raw_data = new_text("t,u\n0,1\n");
  return record;
}

TEST(FreeRecord, FreesARecordWithItsWholeNest) {
  const std::size_t before = counted_new::live_blocks();
  kvr_TestRecord* const record = new_full_record();
  const std::vector<Link> links = {
      {record->data_ratio_3ph[0]->step_up, record->data_ratio_3ph[0]},
      {record->data_ratio_3ph[0], record->data_ratio_3ph},
      {record->data_ratio_3ph, record},
      {record->data_ratio_1ph[2], record->data_ratio_1ph},
      {record->data_ratio_1ph, record},
      {record->data_mbalance[2], record->data_mbalance},
      {record->data_mbalance, record},
      {record->data_resistance[0]->sides, record->data_resistance[0]},
      {record->data_resistance[0], record->data_resistance},
      {record->data_resistance, record},
      {record->data_demag[0]->phases[2], record->data_demag[0]->phases},
      {record->data_demag[0]->phases, record->data_demag[0]},
      {record->data_demag[0], record->data_demag},
      {record->data_demag, record},
      {record->data_efficiency[2], record->data_efficiency},
      {record->data_efficiency, record},
      {record->data_impedance[0]->tests->tests, record->data_impedance[0]->tests},
      {record->data_impedance[0]->tests, record->data_impedance[0]},
      {record->data_impedance[0], record->data_impedance},
      {record->data_impedance, record},
      {record->data_drm[0]->first_transition, record->data_drm[0]},
      {record->data_drm[0], record->data_drm},
      {record->data_drm, record},
      {record->data_heatrun[2]->sides, record->data_heatrun[2]},
      {record->data_heatrun[2], record->data_heatrun},
      {record->data_heatrun, record},
      {record->data_gonogo[2], record->data_gonogo},
      {record->data_gonogo, record},
      {record->raw_data, record},
  };
  counted_new::Recording recording;
  Utils::free_record(record);
  recording.stop();
  const std::vector<const void*> freed = recording.freed_blocks();
  for (const Link& link : links) {
    const auto child = std::find(freed.begin(), freed.end(), link.child);
    EXPECT_LT(child, std::find(freed.begin(), freed.end(), link.parent));
    EXPECT_NE(child, freed.end());
  }
  EXPECT_EQ(freed.back(), record);
  constexpr std::size_t kVectorsOfThisTest = 2;
  EXPECT_EQ(counted_new::live_blocks(), before + kVectorsOfThisTest);
}

TEST(FreeRecord, FreesARecordWithoutData) {
  const std::size_t before = counted_new::live_blocks();
  auto* const record = new kvr_TestRecord{};
  record->data_count = 5;
  Utils::free_record(record);
  EXPECT_EQ(counted_new::live_blocks(), before);
}

TEST(FreeRecord, FreesAnArrayOfRecords) {
  const std::size_t before = counted_new::live_blocks();
  Utils::free_record(new_array<kvr_TestRecord>({new_full_record(), nullptr, new kvr_TestRecord{}}),
                     3);
  Utils::free_record(new_array<kvr_TestRecord>({}), 0);
  EXPECT_EQ(counted_new::live_blocks(), before);
}

// --- Flat copies ---------------------------------------------------------------------------------

TEST(CopySetup, CopiesTheFirst392Bytes) {
  kvr_TestSetup source;
  kvr_TestSetup target;
  std::memset(&source, 1, sizeof(source));
  std::memset(&target, 2, sizeof(target));
  Utils::copy_setup(source, target);
  const Bytes bytes = plain_bytes(&target, {});
  EXPECT_EQ(std::count(bytes.begin(), bytes.begin() + 392, 1), 392);
  EXPECT_EQ(std::count(bytes.begin() + 392, bytes.end(), 2), 28);
}

TEST(CopySetup, LeavesTheTemperaturesAndFlagsOfTheTarget) {
  kvr_TestSetup source{};
  source.line_frequency = 60;
  source.setup_value_b = 1;
  source.temperature_from = 20.0F;
  source.raw_data_requested = 1;
  kvr_TestSetup target{};
  target.temperature_from = 75.0F;
  Utils::copy_setup(source, target);
  EXPECT_EQ(target.line_frequency, 60);
  EXPECT_EQ(target.setup_value_b, 1);
  EXPECT_EQ(target.temperature_from, 75.0F);
  EXPECT_EQ(target.raw_data_requested, 0);
}

TEST(CopyWinding, CopiesAll92Bytes) {
  kvr_WindingSetup source;
  kvr_WindingSetup target{};
  std::memset(&source, 7, sizeof(source));
  Utils::copy_winding(source, target);
  const Bytes bytes = plain_bytes(&target, {});
  EXPECT_EQ(bytes, Bytes(92, 7));
}

}  // namespace

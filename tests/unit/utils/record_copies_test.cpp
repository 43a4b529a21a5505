#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <set>
#include <utility>
#include <vector>

#include "support/counted_new.h"
#include "unit/utils/record_nests.h"
#include "utils/utils.h"

namespace {

// --- Walking nests -------------------------------------------------------------------------------

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

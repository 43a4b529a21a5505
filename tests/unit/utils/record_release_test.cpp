#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "support/counted_new.h"
#include "unit/utils/record_nests.h"
#include "utils/utils.h"

namespace {

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

}  // namespace

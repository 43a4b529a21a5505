#include "virtual_instrument/demonstration/demonstration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "record_form/record_codec.h"
#include "support/temporary_folder.h"
#include "unit/virtual_instrument/measurement/figures.h"

namespace virtual_instrument {
namespace {

/// The demonstration set, stored once for all tests and read back.
class DemonstrationStore : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    store_ = new SqliteStore({});
    ASSERT_EQ(fill_with_demonstration(*store_), KVR_RES_OK);
  }
  static void TearDownTestSuite() { delete std::exchange(store_, nullptr); }

  static RecordNest read(const char* record_id) {
    RecordNest record;
    EXPECT_EQ(store_->read(record_id, record), KVR_RES_OK) << record_id;
    return record ? std::move(record) : RecordNest(new kvr_TestRecord{});
  }

  static SqliteStore* store_;
};

SqliteStore* DemonstrationStore::store_ = nullptr;

std::vector<const kvr_TestData_Point*> points_of(const kvr_TestData_Taps& taps, std::uint32_t tap) {
  return {taps.taps[tap]->points, taps.taps[tap]->points + taps.taps[tap]->point_count};
}

TEST_F(DemonstrationStore, HasEveryFamilyUnderIdsThatCanBeTyped) {
  Labels labels;
  ASSERT_EQ(store_->list(SortKey::kDateTime, true, labels), KVR_RES_OK);
  std::set<std::string_view> families;
  std::set<kvr_TestType> types;
  for (std::uint32_t i = 0; i < labels->count; ++i) {
    const kvr_TestLabel& label = labels->entries[i];
    EXPECT_LE(std::strlen(label.record_id), 16U) << label.record_id;
    EXPECT_EQ(label.test_count, 1U);
    EXPECT_STREQ(label.asset_id, "T-500-11");
    const RecordNest record = read(label.record_id);
    families.insert(family_of(*record));
    types.insert(record->test_type);
  }
  EXPECT_THAT(families, testing::UnorderedElementsAre("ratio_3ph", "ratio_1ph", "mbalance",
                                                      "resistance", "demag", "efficiency",
                                                      "impedance", "drm", "heatrun", "gonogo"));
  EXPECT_THAT(types,
              testing::IsSupersetOf({KVR_TEST_RATIO_AUTO, KVR_TEST_RATIO_DOWN, KVR_TEST_EXCITATION,
                                     KVR_TEST_RESISTANCE, KVR_TEST_RESISTANCE_CONT, KVR_TEST_SCI,
                                     KVR_TEST_FRSL}));
}

/// What a list of records shows of each: ID, type and minutes after eight in the morning, then
/// clock, and for each winding its voltage, type, tap changer and setting.
std::string list_of(const std::vector<DemonstrationRecord>& records) {
  constexpr std::int64_t kEight = 1709625600;
  std::ostringstream text;
  for (const DemonstrationRecord& each : records) {
    const kvr_TestSetup& setup = each.record->setup;
    text << each.record->record_id << " " << each.record->test_type + 0 << " "
         << (each.time - kEight) / 60 << " |" << setup.connections[0].clock;
    for (const kvr_WindingSetup& winding : setup.windings) {
      text << " " << winding.voltage << "," << winding.winding_type + 0 << ","
           << winding.tap_changer + 0 << "," << winding.winding_setting + 0;
    }
    text << "\n";
  }
  return text.str();
}

TEST_F(DemonstrationStore, IsADayOfTests) {
  constexpr std::chrono::sys_seconds kEightInTheMorning =
      std::chrono::sys_days{std::chrono::year{2024} / 3 / 5} + std::chrono::hours{8};
  EXPECT_EQ(demonstration_records().front().time, kEightInTheMorning.time_since_epoch().count());
  EXPECT_EQ(list_of(demonstration_records()),
            R"(demo-excitation 16 0 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-demag 10 20 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-excitation2 16 40 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-excite-1ph 16 60 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-go-no-go 17 80 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-ratio-auto 4 100 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-ratio-down 1 120 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-ratio-1ph 1 140 |100 44.0013,0,2,1 1,0,3,1 0,0,0,1
demo-balance 14 160 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-resistance 8 180 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-continuous 9 200 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-drm 18 220 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-impedance 11 240 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-stray-loss 12 260 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-efficiency 13 280 |11 11000,1,2,1 433,3,3,1 0,0,0,1
demo-heat-run 15 300 |11 11000,1,2,1 433,3,3,1 0,0,0,1
)");
}

TEST_F(DemonstrationStore, AnAutomaticRatioNestsBothDirections) {
  const RecordNest record = read("demo-ratio-auto");
  const kvr_TestData_Ratio_3ph& data = *record->data_ratio_3ph[0];
  ASSERT_NE(data.step_up, nullptr);
  ASSERT_NE(data.step_down, nullptr);
  EXPECT_EQ(data.step_up->test_type, KVR_TEST_RATIO_UP);
  EXPECT_EQ(data.step_down->test_type, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(data.step_up->step_up, nullptr);
  for (const kvr_TestData_Ratio_3ph* each :
       {&data, static_cast<const kvr_TestData_Ratio_3ph*>(data.step_up),
        static_cast<const kvr_TestData_Ratio_3ph*>(data.step_down)}) {
    EXPECT_NEAR(std::abs(each->phase_3ph), 0.5236, 0.0002);
    for (const kvr_TestData_Ratio_Phase& phase : each->phases) {
      EXPECT_EQ(phase.status, KVR_RES_OK);
      EXPECT_NEAR(phase.tnr, 44.0013, 0.15);
    }
  }
}

TEST_F(DemonstrationStore, RatiosAreMeasuredAtAHundredVolts) {
  EXPECT_EQ(read("demo-ratio-auto")->data_ratio_3ph[0]->step_down->test_voltage, 100);
  EXPECT_EQ(read("demo-ratio-1ph")->data_ratio_1ph[0]->test_voltage, 100);
}

TEST_F(DemonstrationStore, TheNoiseOfARecordFollowsFromItsPlaceInTheDay) {
  EXPECT_EQ(figure(read("demo-ratio-1ph")->data_ratio_1ph[0]->phase.tvr), "44.0183");
}

TEST_F(DemonstrationStore, RatiosAgree) {
  const RecordNest down = read("demo-ratio-down");
  const RecordNest automatic = read("demo-ratio-auto");
  const RecordNest losses = read("demo-efficiency");
  const RecordNest single = read("demo-ratio-1ph");
  const kvr_TestData_Ratio_Phase& pair = single->data_ratio_1ph[0]->phase;
  EXPECT_NEAR(pair.tnr, down->data_ratio_3ph[0]->phases[0].tnr, 0.05);
  EXPECT_NEAR(pair.tnr_error, down->data_ratio_3ph[0]->phases[0].tnr_error, 0.05);
  for (std::size_t phase = 0; phase < 3; ++phase) {
    const double ratio = down->data_ratio_3ph[0]->phases[phase].tnr;
    EXPECT_NEAR(automatic->data_ratio_3ph[0]->phases[phase].tnr, ratio, ratio * 0.002);
    EXPECT_NEAR(losses->data_efficiency[0]->phases[phase].ratio_tnr, ratio, ratio * 0.003);
  }
}

TEST_F(DemonstrationStore, ImpedanceAgreesWithTheNameplateAndTheLosses) {
  const RecordNest record = read("demo-impedance");
  const kvr_TestData_Impedance_SingleTest& test = record->data_impedance[0]->tests->tests[0];
  EXPECT_NEAR(test.avg_z_percent, 4.5, 0.1);
  const RecordNest losses = read("demo-efficiency");
  const double current = record->setup.windings[0].current;
  for (std::size_t phase = 0; phase < 3; ++phase) {
    const double load_losses = losses->data_efficiency[0]->phases[phase].load_losses;
    EXPECT_NEAR(load_losses, current * current * test.phases[phase].rs / 2, load_losses * 0.005);
  }
  const kvr_TestData_Efficiency& total = *losses->data_efficiency[0];
  EXPECT_NEAR(total.efficiency_percent, 500e3F / (500e3F + total.total_losses) * 100, 0.01);
}

TEST_F(DemonstrationStore, StrayLossesRiseFromTheFigureAtLineFrequency) {
  const RecordNest record = read("demo-stray-loss");
  const kvr_TestData_Impedance_List& list = *record->data_impedance[0]->tests;
  ASSERT_EQ(list.count, 5U);
  for (std::uint32_t number = 1; number < list.count; ++number) {
    EXPECT_GT(list.tests[number].phases[0].test_frequency,
              list.tests[number - 1].phases[0].test_frequency);
    EXPECT_GT(list.tests[number].phases[0].rs, list.tests[number - 1].phases[0].rs);
  }
}

TEST_F(DemonstrationStore, ResistancesAgreeColdAndHot) {
  const RecordNest cold = read("demo-resistance");
  const RecordNest settled = read("demo-continuous");
  const RecordNest cooling = read("demo-heat-run");
  const kvr_TestData_Taps& taps = *cold->data_resistance[0]->sides->primary;
  ASSERT_EQ(taps.count, 5U);
  const double middle = points_of(taps, 2)[0]->rm;
  EXPECT_NE(points_of(taps, 2)[1]->rm, points_of(taps, 2)[0]->rm) << "no noise";
  EXPECT_NEAR(points_of(taps, 2)[1]->rm, middle, middle * 0.001);
  EXPECT_GT(points_of(taps, 0)[0]->rm, middle);
  EXPECT_LT(points_of(taps, 4)[0]->rm, middle);
  EXPECT_NEAR(points_of(*settled->data_resistance[0]->sides->primary, 0).back()->rm, middle,
              middle * 0.002);
  const auto readings = points_of(*cooling->data_heatrun[0]->sides->primary, 0);
  ASSERT_EQ(readings.size(), 8U);
  for (std::size_t number = 0; number < readings.size(); ++number) {
    // The resistance of copper gives its temperature: 20 degrees C, and a rise of 60 that decays in
    // ten minutes.
    const double temperature = readings[number]->rm / middle * (234.5 + 20) - 234.5;
    const double minutes = static_cast<double>(number) + 1;
    EXPECT_NEAR(temperature, 20 + 60 * std::exp(-minutes / 10), 0.6);
  }
}

TEST_F(DemonstrationStore, TheDayTakesTheRemanenceAway) {
  const RecordNest demag = read("demo-demag");
  ASSERT_EQ(demag->data_demag[0]->phase_count, 3U);
  for (std::uint32_t phase = 0; phase < 3; ++phase) {
    const kvr_TestData_Demag_Phase& limb = *demag->data_demag[0]->phases[phase];
    EXPECT_GT(limb.remanence_initial, 0.1F);
    EXPECT_LT(limb.remanence_after_demag, 0.01F);
  }
  const RecordNest before = read("demo-excitation");
  const RecordNest after = read("demo-excitation2");
  const auto& taken = before->data_ratio_3ph[0]->phases;
  const auto& left = after->data_ratio_3ph[0]->phases;
  // H2-H1 is on limb A, which held the most. Without remanence the outer limbs are alike, and the
  // middle one, that of H3-H2, with the shorter flux path, takes less.
  EXPECT_STREQ(left[2].high_side_phase, "H3-H2");
  EXPECT_LT(left[1].current_rms, taken[1].current_rms);
  const double outer = (left[0].current_rms + left[1].current_rms) / 2;
  EXPECT_GT(std::abs(taken[0].current_rms - taken[1].current_rms), outer * 0.01);
  EXPECT_NEAR(left[0].current_rms, left[1].current_rms, outer * 0.01);
  EXPECT_LT(left[2].current_rms, outer * 0.9);
}

TEST_F(DemonstrationStore, TheBalanceIsThatOfThreeLimbs) {
  const RecordNest record = read("demo-balance");
  const kvr_TestData_MagneticBalance& data = *record->data_mbalance[0];
  for (int row = 0; row < 3; ++row) {
    const float own = data.rows[row].cell[row].value;
    EXPECT_NEAR(own, 100, 1);
    EXPECT_NEAR(data.rows[row].total, 2 * own, own * 0.02);
  }
  EXPECT_NEAR(data.rows[1].cell[0].value, 50, 1);
  EXPECT_NEAR(data.rows[1].cell[2].value, 50, 1);
  EXPECT_LT(data.max_imbalance, 1.0F);
}

TEST_F(DemonstrationStore, TheTapChangerIsSeenMoving) {
  const RecordNest record = read("demo-drm");
  const kvr_TestData_Drm& data = *record->data_drm[0];
  ASSERT_EQ(data.transition_count, 4U);
  for (std::uint32_t number = 0; number < data.transition_count; ++number) {
    EXPECT_GT(data.first_transition[number].end_time, data.first_transition[number].start_time);
  }
}

TEST_F(DemonstrationStore, TheTransformerIsAGo) {
  const RecordNest record = read("demo-go-no-go");
  EXPECT_EQ(record->data_gonogo[0]->status_open_circuit, KVR_RES_OK);
  EXPECT_EQ(record->data_gonogo[0]->status_short_circuit, KVR_RES_OK);
  EXPECT_EQ(record->data_gonogo[0]->status_minimum_inductance, KVR_RES_OK);
}

TEST_F(DemonstrationStore, IsTheSameEachTime) {
  for (const DemonstrationRecord& each : demonstration_records()) {
    EXPECT_EQ(encode_record(*each.record), encode_record(*read(each.record->record_id)))
        << each.record->record_id;
  }
}

TEST(Demonstration, FillsOnlyAnEmptyStore) {
  TemporaryFolder folder;
  SqliteStore store({.path = folder.path() / "records.db"});
  ASSERT_EQ(fill_with_demonstration(store), KVR_RES_OK);
  ASSERT_EQ(store.remove("demo-drm"), KVR_RES_OK);
  EXPECT_EQ(fill_with_demonstration(store), KVR_RES_OK);
  bool exists = true;
  EXPECT_EQ(store.exists("demo-drm", exists), KVR_RES_OK);
  EXPECT_FALSE(exists);
}

TEST(Demonstration, LeavesAStoreWithOneRecordAsItIs) {
  TemporaryFolder folder;
  SqliteStore store({.path = folder.path() / "records.db"});
  const DemonstrationRecord only = std::move(demonstration_records().front());
  ASSERT_EQ(store.save_new(*only.record, only.time), KVR_RES_OK);
  EXPECT_EQ(fill_with_demonstration(store), KVR_RES_OK);
  Labels labels;
  ASSERT_EQ(store.list(SortKey::kTestId, true, labels), KVR_RES_OK);
  EXPECT_EQ(labels->count, 1);
}

}  // namespace
}  // namespace virtual_instrument

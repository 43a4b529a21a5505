#include "virtual_instrument/recording/nested_records.h"

#include <gtest/gtest.h>

#include <memory>

#include "record_form/record_shape.h"

namespace virtual_instrument {
namespace {

/// Owns a result as a client does.
struct FreeNest {
  template <typename Data>
  void operator()(Data* data) const {
    free_nest(data);
  }
};

template <typename Result>
auto nest_of(const Result& result) {
  return std::unique_ptr<std::remove_pointer_t<decltype(new_data(result))>, FreeNest>(
      new_data(result));
}

ResistancePoint point(double resistance) {
  ResistancePoint point{};
  point.data.rm = resistance;
  return point;
}

TEST(NestedRecords, OfAResistanceTestFollowSidesTapsAndPoints) {
  ResistanceTest test{1500, {}};
  ResistancePoint changed = point(3);
  changed.transition.emplace();
  test.sides[0] = {{4, {point(1), point(2)}}, {5, {changed}}};
  test.sides[2] = {{0, {}}};
  const auto data = nest_of(test);
  EXPECT_EQ(data->duration_ms, 1500U);
  ASSERT_NE(data->sides->primary, nullptr);
  ASSERT_EQ(data->sides->primary->count, 2U);
  const kvr_TestData_Tap& first = *data->sides->primary->taps[0];
  EXPECT_EQ(first.tap, 4);
  ASSERT_EQ(first.point_count, 2U);
  EXPECT_EQ(first.points[0]->rm, 1);
  EXPECT_EQ(first.points[1]->rm, 2);
  EXPECT_EQ(first.points[1]->transition, nullptr);
  const kvr_TestData_Tap& second = *data->sides->primary->taps[1];
  EXPECT_EQ(second.tap, 5);
  EXPECT_NE(second.points[0]->transition, nullptr);
  EXPECT_EQ(data->sides->secondary, nullptr) << "a side without taps";
  ASSERT_NE(data->sides->tertiary, nullptr);
  EXPECT_EQ(data->sides->tertiary->taps[0]->point_count, 0U);
}

TEST(NestedRecords, OfARatioTestHoldTheDirectionsThatWereMeasured) {
  ThreePhaseRatio ratio{};
  ratio.data.ratio_3ph = 4;
  ratio.step_down.emplace().ratio_3ph = 6;
  const auto data = nest_of(ratio);
  EXPECT_EQ(data->ratio_3ph, 4);
  EXPECT_EQ(data->step_up, nullptr);
  ASSERT_NE(data->step_down, nullptr);
  EXPECT_EQ(data->step_down->ratio_3ph, 6);
}

TEST(NestedRecords, OfDemagnetisingHaveAnEntryForEachPhase) {
  DemagTest test{};
  test.duration_ms = 7;
  test.phases.resize(3);
  test.phases[2].remanence_initial = 0.5;
  const auto data = nest_of(test);
  EXPECT_EQ(data->duration_ms, 7U);
  ASSERT_EQ(data->phase_count, 3U);
  EXPECT_EQ(data->phases[1]->remanence_initial, 0);
  EXPECT_EQ(data->phases[2]->remanence_initial, 0.5);
}

TEST(NestedRecords, OfImpedanceAndDynamicResistanceHaveArraysInOnePiece) {
  ImpedanceTest impedance{};
  impedance.tests.resize(2);
  const auto measured = nest_of(impedance);
  ASSERT_NE(measured->tests, nullptr);
  EXPECT_EQ(measured->tests->count, 2U);
  EXPECT_NE(measured->tests->tests, nullptr);

  DynamicResistanceTest dynamic{};
  const auto without = nest_of(dynamic);
  EXPECT_EQ(without->transition_count, 0U);
  EXPECT_EQ(without->first_transition, nullptr);
  dynamic.transitions.resize(3);
  const auto with = nest_of(dynamic);
  EXPECT_EQ(with->transition_count, 3U);
  EXPECT_NE(with->first_transition, nullptr);
}

}  // namespace
}  // namespace virtual_instrument

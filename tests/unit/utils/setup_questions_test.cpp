#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "support/thrown_exception.h"
#include "utils/utils.h"

namespace {

/// A setup whose three windings and connections all differ.
kvr_TestSetup three_windings(std::uint32_t connection_type) {
  kvr_TestSetup setup{};
  setup.connection_type = connection_type;
  const float voltages[] = {110000.0F, 20000.0F, 400.0F};
  const float currents[] = {100.0F, 5.0F, 2.0F};
  for (std::size_t i = 0; i < 3; ++i) {
    setup.windings[i].winding_type = KVR_WINDING_D;
    setup.windings[i].voltage = voltages[i];
    setup.windings[i].current = currents[i];
    setup.windings[i].phase_shift = 0.5F + static_cast<float>(i);
    setup.windings[i].tap_changer = KVR_TAP_CHANGER_DETC;
    setup.connections[i].clock = static_cast<std::int32_t>(i) + 1;
  }
  return setup;
}

constexpr std::uint32_t kBadConnections[] = {3, 100, 0xFFFFFFFF};

TEST(SetupQuestions, AnswerForThePairThatIsJoined) {
  const std::int32_t clocks[] = {1, 2, 3};
  const float shifts[] = {1.5F, 2.5F, 2.5F};
  const double ratios[] = {5.5, 275.0, 50.0};
  for (std::uint32_t type = 0; type < 3; ++type) {
    const kvr_TestSetup setup = three_windings(type);
    EXPECT_EQ(Utils::clock_number(setup), clocks[type]);
    EXPECT_EQ(Utils::phase_shift_x(setup), shifts[type]);
    EXPECT_EQ(Utils::nameplate_ratio(setup), ratios[type]);
  }
}

TEST(SetupQuestions, FailOnABadConnectionAtTheirFirstResolver) {
  for (const std::uint32_t type : kBadConnections) {
    const kvr_TestSetup setup = three_windings(type);
    const auto expect_failure = [](const std::string& where, auto question) {
      expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, where,
                           "Utils::" + where + " - incorrect connection_type", question);
    };
    expect_failure("connection", [&] { Utils::clock_number(setup); });
    expect_failure("winding_x", [&] { Utils::phase_shift_x(setup); });
    expect_failure("winding_h", [&] { Utils::nameplate_ratio(setup); });
    expect_failure("winding_h", [&] { Utils::has_oltc(setup); });
    expect_failure("winding_h", [&] { Utils::has_voltages(setup); });
    expect_failure("winding_h", [&] { Utils::oltc_side(setup); });
  }
}

// --- nameplate_ratio -----------------------------------------------------------------------------

TEST(NameplateRatio, IsThatOfTheCurrentsForACurrentTransformer) {
  kvr_TestSetup setup = three_windings(0);
  setup.windings[0].winding_type = KVR_WINDING_CT;
  EXPECT_EQ(Utils::nameplate_ratio(setup), 20.0);
  setup.windings[0].voltage = 0;
  setup.windings[1].voltage = -1;
  EXPECT_EQ(Utils::nameplate_ratio(setup), 20.0);
}

TEST(NameplateRatio, IsZeroWithoutARating) {
  for (const float bad : {0.0F, -0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()}) {
    for (const kvr_WindingType type : {KVR_WINDING_CT, KVR_WINDING_YN}) {
      for (const std::size_t winding : {0U, 1U}) {
        kvr_TestSetup setup = three_windings(0);
        setup.windings[0].winding_type = type;
        (type == KVR_WINDING_CT ? setup.windings[winding].current
                                : setup.windings[winding].voltage) = bad;
        EXPECT_EQ(Utils::nameplate_ratio(setup), 0.0);
      }
    }
  }
}

TEST(NameplateRatio, LooksAtTheHighSideAloneForACurrentTransformer) {
  kvr_TestSetup setup = three_windings(0);
  setup.windings[1].winding_type = KVR_WINDING_CT;
  EXPECT_EQ(Utils::nameplate_ratio(setup), 5.5);
}

TEST(NameplateRatio, DividesInSinglePrecision) {
  kvr_TestSetup setup = three_windings(0);
  setup.windings[0].voltage = 1.0F;
  setup.windings[1].voltage = 3.0F;
  EXPECT_EQ(Utils::nameplate_ratio(setup), static_cast<double>(0.333333343F));
  EXPECT_NE(Utils::nameplate_ratio(setup), 1.0 / 3.0);
}

TEST(NameplateRatio, TakesRatingsBelowOne) {
  kvr_TestSetup setup = three_windings(0);
  setup.windings[0].voltage = 0.5F;
  setup.windings[1].voltage = 0.25F;
  EXPECT_EQ(Utils::nameplate_ratio(setup), 2.0);
}

// --- has_oltc, oltc_side, has_voltages -----------------------------------------------------------

TEST(Oltc, IsFoundOnEitherSide) {
  kvr_TestSetup setup = three_windings(0);
  setup.windings[1].tap_changer = KVR_TAP_CHANGER_OLTC;
  EXPECT_TRUE(Utils::has_oltc(setup));
  EXPECT_EQ(Utils::oltc_side(setup), 1);
  setup.windings[0].tap_changer = KVR_TAP_CHANGER_OLTC;
  EXPECT_TRUE(Utils::has_oltc(setup));
  EXPECT_EQ(Utils::oltc_side(setup), 0) << "the high side wins";
  setup.windings[1].tap_changer = KVR_TAP_CHANGER_NONE;
  EXPECT_EQ(Utils::oltc_side(setup), 0);
}

TEST(Oltc, IsMissingWithOtherTapChangersOnly) {
  kvr_TestSetup setup = three_windings(0);
  for (const std::uint32_t changer : {0U, 1U, 3U, 4U}) {
    setup.windings[0].tap_changer = static_cast<kvr_TapChangerType>(changer);
    setup.windings[1].tap_changer = static_cast<kvr_TapChangerType>(changer);
    EXPECT_FALSE(Utils::has_oltc(setup));
    expect_kvr_exception(KVR_RES_OLTC_TAPCHANGER_MISSING, "oltc_side",
                         "OLTC not detected. Cannot run DRM.", [&] { Utils::oltc_side(setup); });
  }
}

TEST(Oltc, OutsideThePairIsIgnored) {
  for (std::uint32_t type = 0; type < 3; ++type) {
    kvr_TestSetup setup = three_windings(type);
    setup.windings[2 - type].tap_changer = KVR_TAP_CHANGER_OLTC;
    EXPECT_FALSE(Utils::has_oltc(setup)) << type;
  }
}

TEST(HasVoltages, NeedsBothPositive) {
  EXPECT_TRUE(Utils::has_voltages(three_windings(0)));
  kvr_TestSetup low = three_windings(0);
  low.windings[0].voltage = low.windings[1].voltage = 0.5F;
  EXPECT_TRUE(Utils::has_voltages(low));
  for (const float bad : {0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()}) {
    for (const std::size_t winding : {0U, 2U}) {
      kvr_TestSetup setup = three_windings(1);
      setup.windings[winding].voltage = bad;
      EXPECT_FALSE(Utils::has_voltages(setup));
    }
  }
}

TEST(HasVoltages, AsksForVoltagesOfACurrentTransformerToo) {
  kvr_TestSetup setup = three_windings(0);
  setup.windings[0].winding_type = KVR_WINDING_CT;
  setup.windings[0].voltage = 0;
  EXPECT_FALSE(Utils::has_voltages(setup));
}

// --- GetTestPhaseIndexes -------------------------------------------------------------------------

TEST(GetTestPhaseIndexes, ExpandsEveryPhaseCode) {
  using Indexes = std::vector<std::int32_t>;
  EXPECT_EQ(Utils::GetTestPhaseIndexes(0), Indexes{0});
  EXPECT_EQ(Utils::GetTestPhaseIndexes(1), Indexes{1});
  EXPECT_EQ(Utils::GetTestPhaseIndexes(2), Indexes{2});
  EXPECT_EQ(Utils::GetTestPhaseIndexes(3), (Indexes{0, 1}));
  EXPECT_EQ(Utils::GetTestPhaseIndexes(4), (Indexes{0, 2}));
  EXPECT_EQ(Utils::GetTestPhaseIndexes(5), (Indexes{1, 2}));
  EXPECT_EQ(Utils::GetTestPhaseIndexes(100), (Indexes{0, 1, 2}));
}

TEST(GetTestPhaseIndexes, FailsForEveryOtherCode) {
  for (const int phase : {-1, 6, 7, 99, 101, std::numeric_limits<int>::min()}) {
    expect_kvr_exception(KVR_RES_INTERNAL_ERROR, "GetTestPhaseIndexes",
                         "GetTestPhaseIndexes - wrong phase: " + std::to_string(phase),
                         [&] { Utils::GetTestPhaseIndexes(phase); });
  }
}

}  // namespace

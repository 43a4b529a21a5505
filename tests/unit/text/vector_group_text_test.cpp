#include "text/vector_group_text.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/thrown_exception.h"

namespace {

std::string group(float phase_shift) {
  return VectorGroupText(KVR_WINDING_YN, KVR_WINDING_D, 1, phase_shift);
}

TEST(VectorGroupText, HasLettersAndClock) {
  EXPECT_EQ(group(0), "YNd1");
  EXPECT_EQ(VectorGroupText(KVR_WINDING_D, KVR_WINDING_YN, 11, 0), "Dyn11");
  EXPECT_EQ(VectorGroupText(KVR_WINDING_1P, KVR_WINDING_1P, 0, 0), "1Ph0");
  EXPECT_EQ(VectorGroupText(KVR_WINDING_CT, KVR_WINDING_CT, 0, 0), "CT0");
  EXPECT_EQ(VectorGroupText(KVR_WINDING_UNDEFINED, KVR_WINDING_UNDEFINED, 0, 0), "0");
  EXPECT_EQ(
      VectorGroupText(static_cast<kvr_WindingType>(14), static_cast<kvr_WindingType>(7), 0, 0),
      "??0");
}

TEST(VectorGroupText, HasXForAClockThatIsNotKnown) {
  EXPECT_EQ(VectorGroupText(KVR_WINDING_YN, KVR_WINDING_D, 100, 0), "YNdX");
  EXPECT_EQ(VectorGroupText(KVR_WINDING_YN, KVR_WINDING_D, 99, 0), "YNd99");
  EXPECT_EQ(VectorGroupText(KVR_WINDING_YN, KVR_WINDING_D, 101, 0), "YNd101");
}

TEST(VectorGroupText, HasASignForANegativeClock) {
  EXPECT_EQ(VectorGroupText(KVR_WINDING_YN, KVR_WINDING_D, -1, 0), "YNd-1");
  EXPECT_EQ(VectorGroupText(KVR_WINDING_YN, KVR_WINDING_D, std::numeric_limits<int>::min(), 0),
            "YNd-2147483648");
}

TEST(VectorGroupText, ShowsAShiftAboveFourDegrees) {
  EXPECT_EQ(group(0.5235988F), "YNd1+30");
  EXPECT_EQ(group(0x1.657184p-4F), "YNd1+5");  // exactly 5 degrees
  EXPECT_EQ(group(0x1.1df46ap-4F), "YNd1");    // exactly 4
  EXPECT_EQ(group(0x1.1df46cp-4F), "YNd1+4");  // a little more
  EXPECT_EQ(group(3.0F), "YNd1+171");
  EXPECT_EQ(group(0x1.921fb6p+1F), "YNd1+180");  // exactly 180
}

TEST(VectorGroupText, NeverShowsANegativeShift) {
  EXPECT_EQ(group(-0.5235988F), "YNd1");
  EXPECT_EQ(group(-3.0F), "YNd1");
  EXPECT_EQ(group(6.1086524F), "YNd1");      // 350 degrees, -10 after folding
  EXPECT_EQ(group(0x1.921fb8p+1F), "YNd1");  // just above 180
}

TEST(VectorGroupText, HasNoSignForANegativeShiftThatFoldsToAPositiveOne) {
  EXPECT_EQ(group(-6.1086524F), "YNd110");       // -350 degrees, 10 after folding
  EXPECT_EQ(group(-0x1.921fb8p+1F), "YNd1180");  // just below -180: 179.99998, and a tenth more
  EXPECT_EQ(group(-0x1.921fb6p+1F), "YNd1");     // exactly -180
}

TEST(VectorGroupText, AddsATenthInSinglePrecisionAndCuts) {
  EXPECT_EQ(group(0.52F), "YNd1+29");    // 29.79
  EXPECT_EQ(group(0.5225F), "YNd1+30");  // 29.94
  // 8.9 and 11.9 as singles: the sum rounds up to a whole number only in single precision.
  EXPECT_EQ(group(0x1.3e1fe8p-3F), "YNd1+9");
  EXPECT_EQ(group(0x1.a95b9p-3F), "YNd1+12");
}

TEST(VectorGroupText, FoldsByOneTurnAtMost) {
  EXPECT_EQ(group(20.0F), "YNd1+786");  // 785.92, and a tenth more
  EXPECT_EQ(group(-20.0F), "YNd1");
}

TEST(VectorGroupText, HasADefinedTextForShiftsThatAreNone) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(group(std::numeric_limits<float>::quiet_NaN()), "YNd1");
  EXPECT_EQ(group(-kInfinity), "YNd1");
  EXPECT_EQ(group(kInfinity), "YNd1+-2147483648");
  EXPECT_EQ(group(1e30F), "YNd1+-2147483648");
}

TEST(VectorGroupText, TakesTheFourValuesAsOne) {
  EXPECT_EQ(VectorGroupText({KVR_WINDING_ZN, KVR_WINDING_Y, 5, 0.5235988F}), "ZNy5+30");
}

// --- vector_group_from_text ----------------------------------------------------------------------

/// The name of the vector group that a text names.
std::string name_of(std::string_view text) { return VectorGroupText(vector_group_from_text(text)); }

TEST(VectorGroupFromText, TakesEveryNameOfAGroup) {
  const kvr_WindingType types[] = {KVR_WINDING_D,  KVR_WINDING_Y,  KVR_WINDING_YN, KVR_WINDING_Z,
                                   KVR_WINDING_ZN, KVR_WINDING_1P, KVR_WINDING_MH, KVR_WINDING_A};
  for (const kvr_WindingType high : types) {
    for (const kvr_WindingType low : types) {
      for (const std::int32_t clock : {0, 1, 2, 9, 10, 11, kClockUnknown}) {
        const std::string name = VectorGroupText(high, low, clock, 0);
        const kvr_VectorGroup group = vector_group_from_text(name);
        EXPECT_EQ(group.h_type, high) << name;
        EXPECT_EQ(group.x_type, low) << name;
        EXPECT_EQ(group.clock, clock) << name;
        EXPECT_EQ(group.phase_shift, 0.0F) << name;
      }
    }
  }
  EXPECT_EQ(name_of("CT0"), "CT0");
  EXPECT_EQ(name_of("PT0"), "PT0");
}

TEST(VectorGroupFromText, TakesUpperAndLowerCase) {
  for (const char* const text : {"Dyn11", "DYN11", "dyn11", "dYN11"}) {
    EXPECT_EQ(name_of(text), "Dyn11") << text;
  }
  EXPECT_EQ(name_of("ynd1"), "YNd1");
  EXPECT_EQ(name_of("znYNx"), "ZNynX");
  EXPECT_EQ(name_of("1ph6"), "1Ph6");
}

TEST(VectorGroupFromText, TakesAShiftInWholeDegrees) {
  for (int degrees = 5; degrees <= 180; ++degrees) {
    const std::string name = "YNd11+" + std::to_string(degrees);
    EXPECT_EQ(name_of(name), name);
  }
  EXPECT_FLOAT_EQ(vector_group_from_text("Dy5+30").phase_shift, 0.5235988F);
  EXPECT_EQ(name_of("dyX+6"), "DyX+6");
  EXPECT_EQ(name_of("Dy1+4"), "Dy1");  // too small to be shown
  EXPECT_EQ(name_of("Dy1+0"), "Dy1");
}

TEST(VectorGroupFromText, RefusesWhatNamesNone) {
  for (const char* const text : {"",          "D",
                                 "Dy",        "y",
                                 "11",        "0",
                                 "Dyn12",     "Dyn-1",
                                 "Dyn011",    "Dyn100",
                                 "Dyn11x",    " Dyn11",
                                 "Dyn11 ",    "Dyn 11",
                                 "D?11",      "D0",
                                 "YN11",      "VREG",
                                 "??0",       "Dyn11+",
                                 "Dyn11+-5",  "Dyn11-30",
                                 "Dyn11+6x",  "Dyn11+181",
                                 "Dyn11+256", "Dyn11+99999999999",
                                 "Dyn11+6.5", "Dyn11 30"}) {
    expect_kvr_exception(KVR_RES_VECTOR_GROUP_INCORRECT, "vector_group_from_text",
                         std::string("vector_group_from_text - no vector group ") + text,
                         [text] { vector_group_from_text(text); });
  }
}

// --- SetupVectorText -----------------------------------------------------------------------------

kvr_TestSetup three_windings(std::uint32_t connection_type) {
  kvr_TestSetup setup{};
  setup.connection_type = connection_type;
  setup.windings[0].winding_type = KVR_WINDING_YN;
  setup.windings[0].phase_shift = 1.0F;  // of a high side: never shown
  setup.windings[1].winding_type = KVR_WINDING_D;
  setup.windings[1].phase_shift = 0.5235988F;
  setup.windings[2].winding_type = KVR_WINDING_Z;
  setup.connections[0].clock = 1;
  setup.connections[1].clock = 2;
  setup.connections[2].clock = kClockUnknown;
  return setup;
}

TEST(SetupVectorText, IsThatOfThePairThatTheSetupJoins) {
  const char* const expected[] = {"YNd1+30", "YNz2", "DzX"};
  for (std::uint32_t connection_type = 0; connection_type < 3; ++connection_type) {
    const kvr_TestSetup setup = three_windings(connection_type);
    EXPECT_EQ(SetupVectorText(&setup), expected[connection_type]);
  }
}

TEST(SetupVectorText, RefusesAnUnknownPairWithTheWordsOfTheHighSide) {
  const kvr_TestSetup setup = three_windings(3);
  expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "winding_h",
                       "Utils::winding_h - incorrect connection_type",
                       [&] { SetupVectorText(&setup); });
}

}  // namespace

#include "virtual_instrument/model/vector_group.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>

namespace virtual_instrument {
namespace {

TEST(VectorGroup, ReadsWindingsAndClock) {
  const std::optional<VectorGroup> group = parse_vector_group("YNd11");
  ASSERT_TRUE(group);
  EXPECT_EQ(group->high, KVR_WINDING_YN);
  EXPECT_EQ(group->low, KVR_WINDING_D);
  EXPECT_EQ(group->clock, 11);
}

TEST(VectorGroup, KnowsEveryGroupOfDeltaAndStar) {
  int known = 0;
  for (const char* high : {"D", "Y", "YN"}) {
    for (const char* low : {"d", "y", "yn"}) {
      for (int clock = 0; clock < 12; ++clock) {
        const std::string name = std::string(high) + low + std::to_string(clock);
        const bool alike = (high[0] == 'D') == (low[0] == 'd');
        EXPECT_EQ(parse_vector_group(name).has_value(), alike == (clock % 2 == 0)) << name;
        known += parse_vector_group(name).has_value();
      }
    }
  }
  EXPECT_EQ(known, 54);
}

TEST(VectorGroup, RefusesWhatIsNone) {
  for (const char* name : {"", "D", "Dy", "Dyn", "Dyn2", "dyn1", "DYN1", "Dyn1 ", " Dyn1", "Dyn12",
                           "Dyn-1", "Zyn1", "Dyn1x", "Yy1"}) {
    EXPECT_FALSE(parse_vector_group(name)) << name;
  }
}

TEST(VectorGroup, TurnsDifferFromLineRatioByARootOfThreeWhereAStarMeetsADelta) {
  EXPECT_EQ(turns_per_line_ratio(KVR_WINDING_D, KVR_WINDING_D), 1);
  EXPECT_EQ(turns_per_line_ratio(KVR_WINDING_Y, KVR_WINDING_YN), 1);
  EXPECT_EQ(turns_per_line_ratio(KVR_WINDING_D, KVR_WINDING_YN), std::numbers::sqrt3);
  EXPECT_EQ(turns_per_line_ratio(KVR_WINDING_YN, KVR_WINDING_D), 1 / std::numbers::sqrt3);
  EXPECT_FALSE(turns_per_line_ratio(KVR_WINDING_Z, KVR_WINDING_Y));
  EXPECT_FALSE(turns_per_line_ratio(KVR_WINDING_D, KVR_WINDING_UNDEFINED));
}

}  // namespace
}  // namespace virtual_instrument

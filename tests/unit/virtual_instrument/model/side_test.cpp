#include "virtual_instrument/model/side.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace virtual_instrument {
namespace {

TEST(Side, HasAnOther) {
  EXPECT_EQ(other_side(Side::high), Side::low);
  EXPECT_EQ(other_side(Side::low), Side::high);
}

TEST(BySide, HoldsAValueForEachSideTheHighOneFirst) {
  BySide<int> turns{100, 20};
  EXPECT_EQ(turns[Side::high], 100);
  EXPECT_EQ(turns[Side::low], 20);
  for (const Side side : kSides) {
    turns[side] += 1;
  }
  EXPECT_THAT(turns.values, testing::ElementsAre(101, 21));
  EXPECT_EQ(turns, (BySide<int>{101, 21}));
}

}  // namespace
}  // namespace virtual_instrument

#include "virtual_instrument/vocabulary/time_text.h"

#include <gtest/gtest.h>

namespace virtual_instrument {
namespace {

// The zone of the tests is an hour ahead of UTC.
TEST(TimeText, IsLocalTimeByTheFormat) {
  EXPECT_EQ(time_text(1709636400, "%Y-%m-%d %H:%M:%S"), "2024-03-05 12:00:00");
  EXPECT_EQ(time_text(1709636405, "%S%S T%d"), "0505 T05");
  EXPECT_EQ(time_text(0, "%Y"), "1970");
}

TEST(TimeText, KeepsWhatIsNoConversion) { EXPECT_EQ(time_text(0, "100%q%"), "100%q%"); }

TEST(TimeText, NamesOfRecordsAreShortAndGoodForFiles) {
  EXPECT_TRUE(can_name_records("%Y%m%d-%H%M%S"));
  EXPECT_TRUE(can_name_records("a_B.9"));
  EXPECT_FALSE(can_name_records(""));
  EXPECT_FALSE(can_name_records("%Y/%m"));
  EXPECT_FALSE(can_name_records("%H:%M"));
  EXPECT_FALSE(can_name_records("a b"));
  EXPECT_FALSE(can_name_records("%q"));
  EXPECT_TRUE(can_name_records("123456789012345678901234"));
  EXPECT_FALSE(can_name_records("1234567890123456789012345"));
}

}  // namespace
}  // namespace virtual_instrument

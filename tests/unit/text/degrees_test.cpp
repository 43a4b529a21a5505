#include "text/degrees.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "text/text_output.h"

namespace {

struct Angle {
  float radians;
  const char* text;
};

class DegreeText : public testing::TestWithParam<Angle> {};

TEST_P(DegreeText, IsFoldedOnceWithSixDecimals) {
  EXPECT_EQ(KVR_Text_Output::RadToDegText(GetParam().radians), GetParam().text)
      << std::hexfloat << GetParam().radians;
}

INSTANTIATE_TEST_SUITE_P(Ordinary, DegreeText,
                         testing::Values(Angle{0.0F, "0.000000"}, Angle{-0.0F, "-0.000000"},
                                         Angle{1.0F, "57.295780"}, Angle{-1.0F, "-57.295780"},
                                         Angle{0.1F, "5.729578"}, Angle{3.5F, "-159.464767"},
                                         Angle{-3.5F, "159.464767"}));

// The single-precision number closest to pi gives exactly 180 and stays; the next one is beyond.
INSTANTIATE_TEST_SUITE_P(
    AtAndBeside180, DegreeText,
    testing::Values(Angle{0x1.921fb4p+1F, "179.999985"}, Angle{0x1.921fb6p+1F, "180.000000"},
                    Angle{0x1.921fb8p+1F, "-179.999985"}, Angle{-0x1.921fb4p+1F, "-179.999985"},
                    Angle{-0x1.921fb6p+1F, "-180.000000"}, Angle{-0x1.921fb8p+1F, "179.999985"}));

// 20 rad are 1145.9 degrees: one turn less is still outside.
INSTANTIATE_TEST_SUITE_P(SeveralTurns, DegreeText,
                         testing::Values(Angle{20.0F, "785.915649"}, Angle{-20.0F, "-785.915649"},
                                         Angle{6.2831853F, "0.000000"}));

// A product in single precision would end in 3, 5, 2 and 0.
INSTANTIATE_TEST_SUITE_P(ProductInDoublePrecision, DegreeText,
                         testing::Values(Angle{0.08F, "4.583662"}, Angle{0.16F, "9.167324"},
                                         Angle{0.22F, "12.605071"}, Angle{0.23F, "13.178029"}));

INSTANTIATE_TEST_SUITE_P(NotFinite, DegreeText,
                         testing::Values(Angle{std::numeric_limits<float>::infinity(), "inf"},
                                         Angle{-std::numeric_limits<float>::infinity(), "-inf"},
                                         Angle{std::numeric_limits<float>::max(), "inf"},
                                         Angle{std::numeric_limits<float>::quiet_NaN(), "nan"},
                                         Angle{1e30F, "57295781937782950520857517096960.000000"}));

TEST(FoldedDegrees, AreSingles) {
  EXPECT_EQ(folded_degrees(3.5F), -0x1.3eedf6p+7F);
  EXPECT_TRUE(std::isnan(folded_degrees(std::numeric_limits<float>::quiet_NaN())));
}

}  // namespace

#include <gtest/gtest.h>

#include <string>

#include "support/thrown_exception.h"
#include "utils/utils.h"

namespace {

// --- connection_label ----------------------------------------------------------------------------

std::string label_text(std::int32_t side, std::int32_t measure, int connection_type,
                       kvr_StandardType standard = KVR_STANDARD_H1H2) {
  const ConnectionLabel label = Utils::connection_label({side, measure}, connection_type, standard);
  EXPECT_EQ(label.status, 0);
  EXPECT_EQ(label.side, side);
  EXPECT_EQ(label.measure, measure);
  return std::to_string(label.winding) + " " + label.label;
}

TEST(ConnectionLabel, IsThatOfTheWindingTheSideFallsOn) {
  EXPECT_EQ(label_text(0, MEASURE_AB, 0), "1 H2-H1");
  EXPECT_EQ(label_text(0, MEASURE_AB, 1), "1 H2-H1");
  EXPECT_EQ(label_text(0, MEASURE_AB, 2), "2 X2-X1");
  EXPECT_EQ(label_text(1, MEASURE_AB, 0), "2 X2-X1");
  EXPECT_EQ(label_text(1, MEASURE_AB, 1), "3 Y2-Y1");
  EXPECT_EQ(label_text(1, MEASURE_AB, 2), "3 Y2-Y1");
}

TEST(ConnectionLabel, FollowsMeasureAndStandard) {
  EXPECT_EQ(label_text(0, MEASURE_CN, 0, KVR_STANDARD_1U1V), "1 1W-1N");
  EXPECT_EQ(label_text(1, MEASURE_BC, 1, KVR_STANDARD_1U1V), "3 3V-3W");
  EXPECT_EQ(label_text(0, MEASURE_AN, 0, KVR_STANDARD_A2B2), "1 A2-N2");
  EXPECT_EQ(label_text(1, MEASURE_AN, 0, KVR_STANDARD_AB), "2 a-b");
}

TEST(ConnectionLabel, IsEmptyForABadSide) {
  for (const std::int32_t side : {2, -1, 100}) {
    EXPECT_EQ(label_text(side, MEASURE_AB, 0), "2 ");
    EXPECT_EQ(label_text(side, MEASURE_AB, 1), "3 ");
    EXPECT_EQ(label_text(side, MEASURE_AB, 2), "3 ");
  }
}

TEST(ConnectionLabel, IsEmptyForABadPair) {
  for (const int type : {3, -1, 100}) {
    EXPECT_EQ(label_text(0, MEASURE_AB, type), "0 ");
    EXPECT_EQ(label_text(1, MEASURE_AB, type), "0 ");
    EXPECT_EQ(label_text(7, MEASURE_AB, type), "0 ");
  }
}

TEST(ConnectionLabel, LooksNoFurtherAfterABadSideOrPair) {
  const auto bad_standard = static_cast<kvr_StandardType>(9);
  EXPECT_EQ(label_text(2, 99, 0, bad_standard), "2 ");
  EXPECT_EQ(label_text(0, 99, 3, bad_standard), "0 ");
}

TEST(ConnectionLabel, PassesOnTheFailureOfABadMeasureOrStandard) {
  expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "getManualLabel",
                       "Standards::labelPrimary - unknown measure type!", [] {
                         Utils::connection_label({1, 7}, 2, KVR_STANDARD_AB);
                       });
  expect_kvr_exception(
      KVR_RES_INCORRECT_PARAMETERS, "get", "Standards::getStandard - unknown standard type!", [] {
        Utils::connection_label({0, MEASURE_AB}, 0, static_cast<kvr_StandardType>(4));
      });
}

// --- short_label ---------------------------------------------------------------------------------

TEST(ShortLabel, NestsWhatItReplacesTwice) {
  EXPECT_EQ(Utils::short_label(1, 2), "X1-(X2+X3)");
  EXPECT_EQ(Utils::short_label(1, 3), "(X1+X3)-X2");
  EXPECT_EQ(Utils::short_label(1, 6), "X1-X2");
  EXPECT_EQ(Utils::short_label(1, 1), "(X1+X2)-((X1+X2)+X2)");
  EXPECT_EQ(Utils::short_label(2, 1), "((X1+X2)+X2)-X3");
  EXPECT_EQ(Utils::short_label(4, 5), "X1-((X2+X0)+X0)");
  EXPECT_EQ(Utils::short_label(6, 6), "(X3+X0)-((X3+X0)+X0)");
}

TEST(ShortLabel, IsComplete) {
  const char* const labels[6][6] = {
      {"(X1+X2)-((X1+X2)+X2)", "X1-(X2+X3)", "(X1+X3)-X2", "(X1+X0)-X2", "X1-(X2+X0)", "X1-X2"},
      {"((X1+X2)+X2)-X3", "(X2+X3)-((X2+X3)+X3)", "X2-((X1+X3)+X3)", "X2-X3", "(X2+X0)-X3",
       "X2-(X3+X0)"},
      {"(X1+X2)-X3", "X1-((X2+X3)+X3)", "(X1+X3)-((X1+X3)+X3)", "(X1+X0)-X3", "X1-X3",
       "X1-(X3+X0)"},
      {"(X1+X2)-X0", "X1-X0", "(X1+X3)-X0", "(X1+X0)-((X1+X0)+X0)", "X1-((X2+X0)+X0)",
       "X1-((X3+X0)+X0)"},
      {"((X1+X2)+X2)-X0", "(X2+X3)-X0", "X2-X0", "X2-((X1+X0)+X0)", "(X2+X0)-((X2+X0)+X0)",
       "X2-((X3+X0)+X0)"},
      {"X3-X0", "((X2+X3)+X3)-X0", "((X1+X3)+X3)-X0", "X3-((X1+X0)+X0)", "X3-((X2+X0)+X0)",
       "(X3+X0)-((X3+X0)+X0)"},
  };
  for (int measure = 1; measure <= 6; ++measure) {
    for (int shorted = 1; shorted <= 6; ++shorted) {
      EXPECT_EQ(Utils::short_label(measure, shorted), labels[measure - 1][shorted - 1])
          << measure << ' ' << shorted;
    }
  }
}

TEST(ShortLabel, StandsAsItIsWithoutAShortedPair) {
  for (const int shorted : {0, 7, -1, 100}) {
    EXPECT_EQ(Utils::short_label(3, shorted), "X1-X3");
    EXPECT_EQ(Utils::short_label(4, shorted), "X1-X0");
  }
}

TEST(ShortLabel, IsEmptyForABadMeasure) {
  for (const int measure : {0, 7, -1, 100}) {
    EXPECT_EQ(Utils::short_label(measure, 1), "");
    EXPECT_EQ(Utils::short_label(measure, 0), "");
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "text/text_output.h"
#include "unit/text/body_text.h"

namespace {

using Text = KVR_Text_Output;

std::string resistance_body(const std::string& record) {
  return body_text("test_type = 8\n" + record, write_resistance_body);
}

const std::string kPoint = "data_resistance[0].sides.primary.taps[0].points[0].";

/// A record with one point that has these fields.
OwnedRecord record_with_point(const std::string& fields) {
  std::string record;
  std::istringstream lines(fields);
  for (std::string line; std::getline(lines, line);) {
    record += kPoint + line + "\n";
  }
  return parse_record(record, "record");
}

std::string point_text(const std::string& fields) {
  OwnedRecord owned = record_with_point(
      "name = H1-H0\n"
      "ua = 1.25\n"
      "ia = 5.01\n"
      "ii = 4.75\n"
      "rm = 0.249501\n"
      "stability = 0.05\n"
      "stabilization_ms = 1500\n" +
      fields);
  std::ostringstream out = prepared_stream();
  Text::PointToText(owned.get()->data_resistance[0]->sides->primary->taps[0]->points[0], out);
  return out.str();
}

const std::string kStart = "H1-H0 Ua=1.25000000 V, Ia=5.01000023, Ii=4.75000000 A";
const std::string kMeasured = kStart + ", Rm=0.24950100 Ohm,%  stability: 0.05000000";

TEST(PointText, StateIsTheLastWord) {
  EXPECT_EQ(point_text("state = 0"), kMeasured + " IDLE\n");
  EXPECT_EQ(point_text("state = 3"), kMeasured + " STABILIZING\n");
  EXPECT_EQ(point_text("state = 5"), kMeasured + " HEATING\n");
  EXPECT_EQ(point_text("state = 12"), kMeasured + " UNKNOWN\n");
}

TEST(PointText, StablePointHasItsTimeDirectlyAfterTheStability) {
  EXPECT_EQ(point_text("state = 4"), kMeasured + "(1500 ms) STABLE\n");
  EXPECT_EQ(point_text("state = 4\nstabilization_ms = 4294967295"),
            kMeasured + "(4294967295 ms) STABLE\n");
}

TEST(PointText, DischargingPointHasNoResistance) {
  EXPECT_EQ(point_text("state = 6"), kStart + " DISCHARGING\n");
}

TEST(PointText, ErrorFollowsTheState) {
  EXPECT_EQ(point_text("state = 10\nerror = 30"), kMeasured + " ERROR error: KVR_RES_OPEN_LEAD\n");
  EXPECT_EQ(point_text("state = 6\nerror = -1"),
            kStart + " DISCHARGING error: Unknown error code -1\n");
}

TEST(PointText, TransitionHasALineOfItsOwn) {
  const std::string transition = "state = 7\ntransition.from = 1\ntransition.to = -2\n";
  EXPECT_EQ(point_text(transition),
            kMeasured + " MANUAL SAVED\ntransition H1-H0 from 1 to -2 status: \n");
  EXPECT_EQ(point_text(transition + "transition.status = 75"),
            kMeasured +
                " MANUAL SAVED\ntransition H1-H0 from 1 to -2 status: KVR_RES_TAPCHANGER_ERROR\n");
  EXPECT_EQ(point_text(transition + "transition.status = 156\nerror = 1009"),
            kMeasured +
                " MANUAL SAVED error: Unknown error code 1009\n"
                "transition H1-H0 from 1 to -2 status: KVR_RES_NOT_TESTED\n");
}

TEST(PointText, FollowsTheCallersNotation) {
  OwnedRecord owned = record_with_point("name = P\nua = 0.1\nia = 1000000\nstate = 6");
  std::ostringstream out;
  Text::PointToText(owned.get()->data_resistance[0]->sides->primary->taps[0]->points[0], out);
  EXPECT_EQ(out.str(), "P Ua=0.1 V, Ia=1e+06, Ii=0 A DISCHARGING\n");
}

const std::string kSides = "data_resistance[0].sides.";

std::string sides_text(const std::string& record) {
  OwnedRecord owned = parse_record(record, "record");
  std::ostringstream out = prepared_stream();
  Text::SidesToText(owned.get()->data_resistance[0]->sides, out);
  return out.str();
}

TEST(SidesText, FirstTapContinuesTheWordOfItsSide) {
  EXPECT_EQ(sides_text(kSides + "tertiary.count = 1\n" +         //
                       kSides + "tertiary.taps[0].tap = -3\n" +  //
                       kSides + "primary.count = 2\n" +          //
                       kSides + "primary.taps[0].tap = 1\n" +    //
                       kSides + "primary.taps[1].tap = 2\n" +    //
                       kSides + "secondary.count = 1\n" +        //
                       kSides + "secondary.taps[0].tap = 0\n"),
            "primary tap: 1\n tap: 2\nsecondary tap: 0\ntertiary tap: -3\n");
}

TEST(SidesText, SideWithoutArrayIsItsWordAlone) {
  EXPECT_EQ(sides_text(kSides + "secondary.count = 2"), "secondary");
  EXPECT_EQ(sides_text(kSides + "primary.count = 1\n" + kSides + "tertiary.count = 0"),
            "primarytertiary");
}

TEST(SidesText, NoSidesGiveNothing) {
  EXPECT_EQ(sides_text(kSides + "primary = null\n" + kSides + "secondary = null"), "");
}

TEST(TapsText, PassesOverNullTapsAndPoints) {
  OwnedRecord owned = parse_record(kSides + "primary.count = 4\n" +                        //
                                       kSides + "primary.taps[1].tap = 5\n" +              //
                                       kSides + "primary.taps[1].point_count = 4\n" +      //
                                       kSides + "primary.taps[1].points[1].name = A\n" +   //
                                       kSides + "primary.taps[1].points[1].state = 6\n" +  //
                                       kSides + "primary.taps[1].points[3].name = B\n" +   //
                                       kSides + "primary.taps[1].points[3].state = 6\n" +  //
                                       kSides + "primary.taps[3].tap = 6\n" +              //
                                       kSides + "primary.taps[3].point_count = 2\n",  // no array
                                   "record");
  std::ostringstream out = prepared_stream();
  Text::TapsToText(owned.get()->data_resistance[0]->sides->primary, out);
  EXPECT_EQ(out.str(),
            " tap: 5\n"
            "A Ua=0.00000000 V, Ia=0.00000000, Ii=0.00000000 A DISCHARGING\n"
            "B Ua=0.00000000 V, Ia=0.00000000, Ii=0.00000000 A DISCHARGING\n"
            " tap: 6\n");
}

TEST(TapsText, NullArrayGivesNothing) {
  kvr_TestData_Taps taps{};
  taps.count = 3;
  std::ostringstream out;
  Text::TapsToText(&taps, out);
  EXPECT_EQ(out.str(), "");
}

TEST(ResistanceBody, HasSidesThenDuration) {
  EXPECT_EQ(resistance_body("data_resistance[0].duration_ms = 61234\n" +    //
                            kSides + "primary.count = 1\n" +                //
                            kSides + "primary.taps[0].tap = 9\n" +          //
                            kSides + "primary.taps[0].point_count = 1\n" +  //
                            kSides + "primary.taps[0].points[0].name = H1-H0\n" + kSides +
                            "primary.taps[0].points[0].state = 8\n"),
            "primary tap: 9\n"
            "H1-H0 Ua=0.00000000 V, Ia=0.00000000, Ii=0.00000000 A, Rm=0.00000000 Ohm,%  "
            "stability: 0.00000000 AUTO SAVED\n"
            "Test duration(ms) = 61234\n");
}

TEST(ResistanceBody, WithoutSidesIsTheDurationAlone) {
  EXPECT_EQ(resistance_body("data_resistance[0].duration_ms = 4294967295"),
            "Test duration(ms) = 4294967295\n");
}

TEST(ResistanceBody, WhatIsMissingHasNoLines) {
  EXPECT_EQ(resistance_body(""), "");
  EXPECT_EQ(resistance_body("data_resistance[0] = null"), "");
}

TEST(ResistanceBody, ContinuousTestIsRenderedTheSame) {
  const std::string record = "data_count = 1\ndata_resistance[0].duration_ms = 5\ntest_type = ";
  for (const char* const type : {"8", "9"}) {
    OwnedRecord owned = parse_record(record + type, "record");
    EXPECT_TRUE(
        Text::ResultsToString(owned.get()).ends_with("\nTEST #1 \tTest duration(ms) = 5\n\n"));
  }
}

TEST(HeatRunBody, HasItsNumberTwiceAndDataOfItsOwn) {
  OwnedRecord owned = parse_record(
      "test_type = 15\n"
      "data_count = 2\n"
      "data_resistance[0].duration_ms = 1\n"
      "data_heatrun[0].duration_ms = 7\n"
      "data_heatrun[1].duration_ms = 8\n",
      "record");
  EXPECT_TRUE(Text::ResultsToString(owned.get())
                  .ends_with("\nTEST #1 \tTEST #1 \tTest duration(ms) = 7\n\n"
                             "TEST #2 \tTEST #2 \tTest duration(ms) = 8\n\n"));
}

TEST(HeatRunBody, WithoutDataStillHasItsNumberTwice) {
  OwnedRecord owned = parse_record("test_type = 15\ndata_count = 1", "record");
  EXPECT_TRUE(Text::ResultsToString(owned.get()).ends_with("\nTEST #1 \tTEST #1 \t\n"));
}

struct Progress {
  kvr_TestData_Point first{};
  kvr_TestData_Point second{};
  kvr_TestData_Point* points[3] = {&first, nullptr, &second};
  kvr_TestData_Progress record{};

  Progress() {
    first.name[0] = 'A';
    first.state = KVR_POINT_DISCHARGING;
    second.name[0] = 'B';
    second.state = KVR_POINT_DISCHARGING;
  }
  std::string text() const {
    std::ostringstream out;
    Text::ProgressToText(&record, out);
    EXPECT_EQ(out.precision(), 8);
    EXPECT_EQ(out.flags() & std::ios_base::floatfield, std::ios_base::fixed);
    return out.str();
  }
};

TEST(ProgressText, SaysWhatWasSavedWithoutALineEnd) {
  const char* const expected[] = {"\n",
                                  "\n",
                                  "\nPOINT SAVED (partial phase)",
                                  "\nPOINT SAVED (full phase)",
                                  "\nPOINT SAVED (test completed)",
                                  "\n"};
  Progress progress;
  for (std::uint32_t saved = 0; saved < 6; ++saved) {
    progress.record.saved = saved;
    EXPECT_EQ(progress.text(), expected[saved]) << saved;
  }
  progress.record.saved = 0xFFFFFFFF;
  EXPECT_EQ(progress.text(), "\n");
}

TEST(ProgressText, HasTapsIfEitherIsNotZero) {
  Progress progress;
  progress.record.tap = 3;
  EXPECT_EQ(progress.text(), "\ntap: 3/0\n");
  progress.record.tap = 0;
  progress.record.tap_count = -17;
  EXPECT_EQ(progress.text(), "\ntap: 0/-17\n");
}

TEST(ProgressText, HasAllInOrder) {
  Progress progress;
  progress.record.saved = 2;
  progress.record.tap = 3;
  progress.record.tap_count = 17;
  progress.record.status = KVR_RES_EMERGENCY_STOP_PRESSED;
  progress.record.points = progress.points;
  progress.record.point_count = 3;
  EXPECT_EQ(progress.text(),
            "\nPOINT SAVED (partial phase)tap: 3/17\n"
            "STATUS: KVR_RES_EMERGENCY_STOP_PRESSED\n"
            "A Ua=0.00000000 V, Ia=0.00000000, Ii=0.00000000 A DISCHARGING\n"
            "B Ua=0.00000000 V, Ia=0.00000000, Ii=0.00000000 A DISCHARGING\n");
}

TEST(ProgressText, NullPointsGiveNothing) {
  Progress progress;
  progress.record.point_count = 3;
  EXPECT_EQ(progress.text(), "\n");
}

}  // namespace

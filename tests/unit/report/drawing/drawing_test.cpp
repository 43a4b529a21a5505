#include <gtest/gtest.h>

#include <cmath>

#include "report/drawing/chart.h"
#include "report/drawing/scale.h"

namespace report {
namespace {

std::string ticks_of(const Scale& scale) {
  std::string text;
  for (const Tick& tick : scale.ticks()) {
    text += tick.text + " ";
  }
  return text;
}

TEST(Scale, HasRoundTicks) {
  EXPECT_EQ(ticks_of(Scale({0.13, 0.97}, false, 0, 1)), "0 0.2 0.4 0.6 0.8 1 ");
  EXPECT_EQ(ticks_of(Scale({-3, 4}, false, 0, 1)), "-4 -2 0 2 4 ");
  EXPECT_EQ(ticks_of(Scale({50, 50}, false, 0, 1)), "44 46 48 50 52 54 56 ");
  EXPECT_EQ(ticks_of(Scale({}, false, 0, 1)), "0 0.2 0.4 0.6 0.8 1 ");
  EXPECT_EQ(ticks_of(Scale({12, 80}, true, 0, 1)), "10 20 50 100 ");
  EXPECT_EQ(ticks_of(Scale({0.002, 300}, true, 0, 1)), "0.001 0.01 0.1 1 10 100 1000 ");
}

TEST(Scale, PlacesValues) {
  const Scale linear({0, 10}, false, 100, 200);
  EXPECT_DOUBLE_EQ(linear.at(5), 150);
  const Scale logarithmic({1, 100}, true, 0, 100);
  EXPECT_DOUBLE_EQ(logarithmic.at(10), 50);
  EXPECT_FALSE(logarithmic.contains(0));
  EXPECT_FALSE(Scale({-1, 100}, true, 0, 1).is_logarithmic());
}

TEST(Scale, LeavesOutWhatIsNoNumber) {
  const Scale scale({std::nan(""), 1, HUGE_VAL, 3, -1e308}, false, 0, 1);
  EXPECT_DOUBLE_EQ(scale.lowest(), 1);
  EXPECT_DOUBLE_EQ(scale.highest(), 3);
}

TEST(Chart, IsOneElementWithTitlesAndSymbols) {
  Chart chart{"T & <U>", "x", "y", false, false, {}};
  chart.series.push_back({"one", SeriesStyle::kPoints, {{0, 0, "zero"}, {1, 1, "one < two"}}});
  chart.series.push_back({"limit", SeriesStyle::kLimit, {{0, 0.5, {}}, {1, 0.5, {}}}});
  Markup out;
  draw(out, chart, 3);
  const std::string svg = out.take();
  EXPECT_TRUE(
      svg.starts_with("<svg viewBox=\"0 0 640 386\" role=\"img\" aria-labelledby=\"p3\">"
                      "<title id=\"p3\">T &amp; &lt;U&gt;</title>\n"))
      << svg;
  EXPECT_NE(svg.find("<title>one &lt; two</title>"), std::string::npos);
  EXPECT_NE(svg.find("class=\"l\" d=\"M86 164L600 164\""), std::string::npos) << svg;
  EXPECT_TRUE(svg.ends_with("</svg>\n"));
}

TEST(Chart, WithoutAPointThatCanBeDrawnSaysSo) {
  Chart chart{"T", "x", "y", false, false, {}};
  chart.series.push_back({"s", SeriesStyle::kPoints, {{0, std::nan(""), "a"}}});
  Markup out;
  draw(out, chart, 1);
  EXPECT_NE(out.take().find(">no value that can be drawn<"), std::string::npos);
}

TEST(Chart, HasDecimalCommasWhereTheReportHas) {
  Chart chart{"T 1.5", "x", "y", false, false, {}};
  chart.series.push_back(
      {"limit 0.5 %", SeriesStyle::kPoints, {{0.25, 0, "0.25 V"}, {0.75, 1, ""}}});
  Markup out;
  draw(out, chart, 1, true);
  const std::string svg = out.take();
  EXPECT_NE(svg.find(">0,25 V<"), std::string::npos) << svg;
  EXPECT_NE(svg.find(">limit 0,5 %<"), std::string::npos);
  EXPECT_NE(svg.find(">0,3<"), std::string::npos);
  EXPECT_EQ(svg.find(">0.3<"), std::string::npos);
}

TEST(Chart, SkipsPointsThatAreNoNumbers) {
  Chart chart{"T", "x", "y", false, false, {}};
  chart.series.push_back({"s",
                          SeriesStyle::kPointsAndLine,
                          {{0, 1, "a"}, {1, std::nan(""), "b"}, {2, HUGE_VAL, "c"}, {3, 2, "d"}}});
  Markup out;
  draw(out, chart, 1);
  const std::string svg = out.take();
  EXPECT_EQ(svg.find("nan"), std::string::npos);
  EXPECT_EQ(svg.find("inf"), std::string::npos);
  EXPECT_EQ(svg.find("<title>b</title>"), std::string::npos);
  EXPECT_NE(svg.find("<title>d</title>"), std::string::npos);
}

}  // namespace
}  // namespace report

#pragma once

#include <array>
#include <string>
#include <vector>

#include "report/markup/markup.h"

// Pictures as data, and their drawing as SVG: curves and points over two axes, bars, and phasors.
// Nothing depends on colour alone: each series has a symbol and a style of line of its own, each
// point tells its values on hover, and the legend stands below the picture.

namespace report {

struct ChartPoint {
  double x;
  double y;
  std::string title;  ///< on hover
};

enum class SeriesStyle {
  kPoints,         ///< symbols alone
  kPointsAndLine,  ///< symbols joined
  kLine,           ///< a curve without symbols
  kLimit,          ///< a dashed line
  kBars,           ///< from zero up
  kSpans,          ///< horizontal bars, from x of one point to that of the next
};

struct Series {
  std::string name;
  SeriesStyle style;
  std::vector<ChartPoint> points;
};

struct Chart {
  std::string title;
  std::string x_label;
  std::string y_label;
  bool is_x_logarithmic = false;
  bool is_y_logarithmic = false;
  std::vector<Series> series;
};

/// Draws the chart as one SVG element. A chart without a point that can be drawn says so.
void draw(Markup& out, const Chart& chart, int number, bool has_decimal_comma = false);

struct Phasor {
  std::string name;
  double magnitude;  ///< relative
  double degrees;    ///< 90 is up
  bool is_low_side;
  bool is_nameplate = false;  ///< drawn as a limit is
};

/// Phasors of both sides on the face of a clock.
struct PhasorPicture {
  std::string title;
  std::vector<Phasor> phasors;
  std::string note;
};

void draw(Markup& out, const PhasorPicture& picture, int number, bool has_decimal_comma = false);

}  // namespace report

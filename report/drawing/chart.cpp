#include "report/drawing/chart.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "report/drawing/scale.h"
#include "report/drawing/symbols.h"
#include "report/figures/numbers.h"

namespace report {
namespace {

constexpr double kWidth = 640;
constexpr double kLeft = 86;
constexpr double kRight = 600;  // leaves room for half of the last number
constexpr double kTop = 38;
constexpr double kBottom = 290;
constexpr double kLegendTop = 352;
constexpr double kLegendStep = 20;
constexpr double kBarInset = 30;  // keeps the outermost bars off the axis

class ChartDrawing {
 public:
  ChartDrawing(Markup& out, const Chart& chart, bool has_decimal_comma)
      : out_(out),
        chart_(chart),
        has_decimal_comma_(has_decimal_comma),
        has_bars_(
            std::any_of(chart.series.begin(), chart.series.end(),
                        [](const Series& series) { return series.style == SeriesStyle::kBars; })),
        x_(spread(values(&ChartPoint::x)), chart.is_x_logarithmic,
           kLeft + (has_bars_ ? kBarInset : 0), kRight - (has_bars_ ? kBarInset : 0)),
        y_(values(&ChartPoint::y), chart.is_y_logarithmic, kBottom, kTop) {}

  void draw(const std::string& id) {
    const double height = kLegendTop + kLegendStep * static_cast<double>(chart_.series.size()) - 6;
    out_.open("svg", {{"viewBox", "0 0 " + coordinate(kWidth) + " " + coordinate(height)},
                      {"role", "img"},
                      {"aria-labelledby", id}});
    out_.element("title", chart_.title, {{"id", id}}).line_end();
    out_.element("text", chart_.title, {{"class", "h"}, {"x", coordinate(kLeft)}, {"y", "22"}});
    draw_axes();
    if (!has_points()) {
      out_.element("text", "no value that can be drawn",
                   {{"class", "m"},
                    {"x", coordinate((kLeft + kRight) / 2)},
                    {"y", coordinate((kTop + kBottom) / 2)}});
    }
    for (std::size_t i = 0; i < chart_.series.size(); ++i) {
      draw_series(chart_.series[i], i);
      draw_legend(chart_.series[i], i);
    }
    out_.close().line_end();
  }

 private:
  std::vector<double> values(double ChartPoint::*member) const {
    std::vector<double> all;
    for (const Series& series : chart_.series) {
      for (const ChartPoint& point : series.points) {
        if (std::isfinite(point.x) && std::isfinite(point.y)) {
          all.push_back(point.*member);
          if (series.style == SeriesStyle::kBars && member == &ChartPoint::y) {
            all.push_back(0);
          }
        }
      }
    }
    return all;
  }

  std::string shown(const std::string& text) const {
    return has_decimal_comma_ ? with_decimal_commas(text) : text;
  }

  /// Readings that were meant to stand at one value, such as a voltage, don't fill the axis.
  static std::vector<double> spread(std::vector<double> values) {
    if (values.empty()) {
      return values;
    }
    const auto [lowest, highest] = std::minmax_element(values.begin(), values.end());
    const double size = std::max(std::abs(*lowest), std::abs(*highest));
    const double middle = (*lowest + *highest) / 2;
    if (*highest - *lowest < 0.01 * size) {
      values.push_back(middle - 0.04 * size);
      values.push_back(middle + 0.04 * size);
    }
    return values;
  }

  bool has_points() const {
    return std::any_of(chart_.series.begin(), chart_.series.end(), [this](const Series& series) {
      return std::any_of(series.points.begin(), series.points.end(),
                         [this](const ChartPoint& point) { return is_drawn(point); });
    });
  }

  bool is_drawn(const ChartPoint& point) const {
    return std::isfinite(point.x) && std::isfinite(point.y) && x_.contains(point.x) &&
           y_.contains(point.y);
  }

  void line(std::string_view style, double x1, double y1, double x2, double y2) {
    out_.empty("path", {{"class", std::string(style)},
                        {"d", "M" + coordinate(x1) + " " + coordinate(y1) + "L" + coordinate(x2) +
                                  " " + coordinate(y2)}});
  }

  void draw_axes() {
    for (const Tick& tick : x_.ticks()) {
      if (has_bars_ && tick.value != std::round(tick.value)) {
        continue;  // bars stand at whole numbers
      }
      const double at = x_.at(tick.value);
      line("g", at, kTop, at, kBottom);
      out_.element("text", shown(tick.text),
                   {{"class", "m"}, {"x", coordinate(at)}, {"y", coordinate(kBottom + 18)}});
    }
    for (const Tick& tick : y_.ticks()) {
      const double at = y_.at(tick.value);
      line("g", kLeft, at, kRight, at);
      out_.element("text", shown(tick.text),
                   {{"class", "e"}, {"x", coordinate(kLeft - 7)}, {"y", coordinate(at + 4)}});
    }
    out_.empty("path", {{"class", "a"},
                        {"d", "M" + coordinate(kLeft) + " " + coordinate(kTop) + "V" +
                                  coordinate(kBottom) + "H" + coordinate(kRight)}});
    out_.element(
        "text", chart_.x_label,
        {{"class", "m"}, {"x", coordinate((kLeft + kRight) / 2)}, {"y", coordinate(kBottom + 40)}});
    const double middle = (kTop + kBottom) / 2;
    out_.element(
        "text", chart_.y_label,
        {{"class", "m"}, {"transform", "translate(13 " + coordinate(middle) + ")rotate(-90)"}});
    out_.line_end();
  }

  void draw_series(const Series& series, std::size_t index) {
    switch (series.style) {
      case SeriesStyle::kBars:
        draw_bars(series, index);
        break;
      case SeriesStyle::kSpans:
        draw_spans(series, index);
        break;
      default:
        if (series.style != SeriesStyle::kPoints) {
          draw_line(series, index);
        }
        if (series.style == SeriesStyle::kPoints || series.style == SeriesStyle::kPointsAndLine) {
          draw_points(series, index);
        }
    }
    out_.line_end();
  }

  void draw_line(const Series& series, std::size_t index) {
    std::string path;
    bool is_down = false;
    for (const ChartPoint& point : series.points) {
      if (!is_drawn(point)) {
        is_down = false;
        continue;
      }
      path += (is_down ? "L" : "M") + coordinate(x_.at(point.x)) + " " + coordinate(y_.at(point.y));
      is_down = true;
    }
    if (!path.empty()) {
      const bool is_limit = series.style == SeriesStyle::kLimit;
      out_.empty("path",
                 {{"class", is_limit ? "l" : "c" + std::to_string(index % 6)}, {"d", path}});
    }
  }

  void draw_points(const Series& series, std::size_t index) {
    for (const ChartPoint& point : series.points) {
      if (is_drawn(point)) {
        draw_symbol(out_, index, x_.at(point.x), y_.at(point.y), shown(point.title));
      }
    }
  }

  void rectangle(std::size_t index, double x1, double y1, double x2, double y2,
                 std::string_view title) {
    const std::string path = "M" + coordinate(x1) + " " + coordinate(y1) + "H" + coordinate(x2) +
                             "V" + coordinate(y2) + "H" + coordinate(x1) + "z";
    out_.open("path", {{"class", "b" + std::to_string(index % 6)}, {"d", path}})
        .element("title", title)
        .close();
  }

  void draw_bars(const Series& series, std::size_t index) {
    const double width =
        std::min(24.0, 0.7 * (kRight - kLeft) / static_cast<double>(series.points.size() + 1)) /
        static_cast<double>(chart_.series.size());
    for (const ChartPoint& point : series.points) {
      if (is_drawn(point)) {
        const double offset =
            width * (static_cast<double>(index) - static_cast<double>(chart_.series.size()) / 2);
        const double left = x_.at(point.x) + offset;
        rectangle(index, left, y_.at(std::max(0.0, y_.lowest())), left + width, y_.at(point.y),
                  shown(point.title));
      }
    }
  }

  void draw_spans(const Series& series, std::size_t index) {
    for (std::size_t i = 0; i + 1 < series.points.size(); i += 2) {
      const ChartPoint& from = series.points[i];
      const ChartPoint& to = series.points[i + 1];
      if (is_drawn(from) && is_drawn(to)) {
        rectangle(index, x_.at(from.x), y_.at(from.y) - 6, x_.at(to.x), y_.at(from.y) + 6,
                  shown(from.title));
      }
    }
  }

  void draw_legend(const Series& series, std::size_t index) {
    const double y = kLegendTop + kLegendStep * static_cast<double>(index) - 8;
    const bool is_area = series.style == SeriesStyle::kBars || series.style == SeriesStyle::kSpans;
    if (is_area) {
      rectangle(index, kLeft, y - 5, kLeft + 26, y + 5, shown(series.name));
    } else if (series.style != SeriesStyle::kPoints) {
      const bool is_limit = series.style == SeriesStyle::kLimit;
      line(is_limit ? "l" : "c" + std::to_string(index % 6), kLeft, y, kLeft + 26, y);
    }
    if (series.style == SeriesStyle::kPoints || series.style == SeriesStyle::kPointsAndLine) {
      draw_symbol(out_, index, kLeft + 13, y, {});
    }
    out_.element("text", shown(series.name),
                 {{"x", coordinate(kLeft + 36)}, {"y", coordinate(y + 4)}});
    out_.line_end();
  }

  Markup& out_;
  const Chart& chart_;
  bool has_decimal_comma_;
  bool has_bars_;
  Scale x_;
  Scale y_;
};

}  // namespace

void draw(Markup& out, const Chart& chart, int number, bool has_decimal_comma) {
  ChartDrawing(out, chart, has_decimal_comma).draw("p" + std::to_string(number));
}

}  // namespace report

#include <algorithm>
#include <cmath>
#include <numbers>

#include "report/drawing/chart.h"
#include "report/drawing/symbols.h"
#include "report/figures/numbers.h"

namespace report {
namespace {

constexpr double kCentreX = 190;
constexpr double kCentreY = 190;
constexpr double kFace = 150;
constexpr double kLongest = 128;
constexpr double kLegendX = 392;

struct Position {
  double x;
  double y;
};

Position on_circle(double degrees, double radius) {
  const double radians = degrees / 180 * std::numbers::pi;
  return {kCentreX + radius * std::cos(radians), kCentreY - radius * std::sin(radians)};
}

void draw_face(Markup& out) {
  out.empty("circle", {{"class", "a"},
                       {"cx", coordinate(kCentreX)},
                       {"cy", coordinate(kCentreY)},
                       {"r", coordinate(kFace)}});
  for (int hour = 1; hour <= 12; ++hour) {
    const Position at = on_circle(90 - 30 * hour, kFace + 15);
    out.element("text", std::to_string(hour),
                {{"class", "m"}, {"x", coordinate(at.x)}, {"y", coordinate(at.y + 4)}});
  }
  out.line_end();
}

std::string style_of(const Phasor& phasor, std::size_t index) {
  return phasor.is_nameplate ? "l" : "c" + std::to_string(index % 6);
}

void draw_arrow(Markup& out, const Phasor& phasor, const std::string& name, std::size_t index,
                double length) {
  const Position tip = on_circle(phasor.degrees, length);
  const double radians = phasor.degrees / 180 * std::numbers::pi;
  const auto wing = [&](double turn) {
    return coordinate(tip.x - 10 * std::cos(radians + turn)) + " " +
           coordinate(tip.y + 10 * std::sin(radians + turn));
  };
  out.open("path", {{"class", style_of(phasor, index)},
                    {"d", "M" + coordinate(kCentreX) + " " + coordinate(kCentreY) + "L" +
                              coordinate(tip.x) + " " + coordinate(tip.y) + "M" + wing(0.4) + "L" +
                              coordinate(tip.x) + " " + coordinate(tip.y) + "L" + wing(-0.4)}});
  out.element("title", name).close();
}

}  // namespace

void draw(Markup& out, const PhasorPicture& picture, int number, bool has_decimal_comma) {
  const std::string id = "p" + std::to_string(number);
  const double height = std::max(366.0, 60 + 20 * static_cast<double>(picture.phasors.size()) + 40);
  out.open(
      "svg",
      {{"viewBox", "0 0 640 " + coordinate(height)}, {"role", "img"}, {"aria-labelledby", id}});
  out.element("title", picture.title, {{"id", id}});
  out.element("text", picture.title, {{"class", "h"}, {"x", "392"}, {"y", "22"}});
  draw_face(out);
  double longest_high = 0;
  double longest_low = 0;
  for (const Phasor& phasor : picture.phasors) {
    double& longest = phasor.is_low_side ? longest_low : longest_high;
    longest = std::max(longest, phasor.magnitude);
  }
  for (std::size_t i = 0; i < picture.phasors.size(); ++i) {
    const Phasor& phasor = picture.phasors[i];
    const double longest = phasor.is_low_side ? longest_low : longest_high;
    const double length = (phasor.is_low_side ? 0.75 : 1.0) * kLongest *
                          (longest > 0 ? phasor.magnitude / longest : 0);
    const std::string name = has_decimal_comma ? with_decimal_commas(phasor.name) : phasor.name;
    if (std::isfinite(length) && std::isfinite(phasor.degrees)) {
      draw_arrow(out, phasor, name, i, length);
    }
    const double y = 52 + 20 * static_cast<double>(i);
    out.empty("path", {{"class", style_of(phasor, i)},
                       {"d", "M" + coordinate(kLegendX) + " " + coordinate(y - 4) + "h26"}});
    out.element("text", name, {{"x", coordinate(kLegendX + 34)}, {"y", coordinate(y)}});
    out.line_end();
  }
  out.close().line_end();
}

}  // namespace report

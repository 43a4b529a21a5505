#include "report/drawing/symbols.h"

#include "report/figures/numbers.h"

namespace report {
namespace {

// Dark enough on white for any reader; told apart by symbol and dashes as well.
constexpr SeriesLook kLooks[] = {{"#0b4f9c", ""},        {"#a33b00", "7 3"}, {"#1d6b2f", "2 3"},
                                 {"#6a2c91", "9 3 2 3"}, {"#7a5c00", "4 2"}, {"#444444", "1 2"}};

}  // namespace

std::string coordinate(double value) {
  std::string text = fixed(value, 2);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) {
    text.pop_back();
  }
  return text.empty() ? "0" : text;
}

SeriesLook look_of(std::size_t index) { return kLooks[index % std::size(kLooks)]; }

void draw_symbol(Markup& out, std::size_t index, double x, double y, std::string_view title) {
  // Paths in relative coordinates: circle, square, triangle, diamond, plus, cross.
  static constexpr std::string_view kPaths[] = {"m-4 0a4 4 0 1 0 8 0a4 4 0 1 0-8 0",
                                                "m-3.5-3.5h7v7h-7z",
                                                "m0-4.5l4.5 8h-9z",
                                                "m0-5l5 5-5 5-5-5z",
                                                "m-5 0h10m-5-5v10",
                                                "m-4-4l8 8m0-8l-8 8"};
  const std::string path =
      "M" + coordinate(x) + " " + coordinate(y) + std::string(kPaths[index % std::size(kPaths)]);
  const Attribute colour{"class", "s" + std::to_string(index % std::size(kLooks))};
  if (title.empty()) {
    out.empty("path", {colour, {"d", path}});
    return;
  }
  out.open("path", {colour, {"d", path}}).element("title", title).close();
}

}  // namespace report

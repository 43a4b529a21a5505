#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "report/markup/markup.h"

// Symbols and styles that tell series apart, in colour and without.

namespace report {

/// A position or length in a picture, with at most two decimals.
std::string coordinate(double value);

struct SeriesLook {
  std::string_view colour;
  std::string_view dashes;  ///< empty for a solid line
};

/// The looks repeat after six series; the symbols after six too.
SeriesLook look_of(std::size_t index);

/// One symbol at a position, with its title.
void draw_symbol(Markup& out, std::size_t index, double x, double y, std::string_view title);

}  // namespace report

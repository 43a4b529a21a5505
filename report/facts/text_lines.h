#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

// Text files in pieces: lines, values, numbers, and texts into the fields of a record.

namespace report {

/// Without their line ends, of either system.
std::vector<std::string_view> lines_of(std::string_view text);

std::vector<std::string_view> split(std::string_view line, char separator);

/// Before and after the first separator; nothing after a line without one.
std::pair<std::string_view, std::string_view> halves(std::string_view line, char separator);

std::string_view trimmed(std::string_view text);

/// Not a number for anything else.
double number_in(std::string_view text);

/// Cuts what does not fit.
template <std::size_t size>
void set_field(char (&field)[size], std::string_view text) {
  const std::string_view kept = text.substr(0, size - 1);
  std::fill(std::copy(kept.begin(), kept.end(), field), field + size, '\0');
}

}  // namespace report

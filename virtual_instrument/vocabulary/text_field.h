#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace virtual_instrument {

/// Writes `text` into a zeroed field of a record, terminated; cuts it to fit.
template <std::size_t size>
void fill_field(char (&field)[size], std::string_view text) {
  std::copy_n(text.begin(), std::min(text.size(), size - 1), field);
}

/// The text of a field; nullopt if it is not terminated.
template <std::size_t size>
std::optional<std::string> text_of_field(const char (&field)[size]) {
  const char* end = std::find(field, field + size, '\0');
  return end == field + size ? std::nullopt : std::optional(std::string(field, end));
}

}  // namespace virtual_instrument

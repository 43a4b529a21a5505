#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

/// Copies what fits and terminates it, as a library fills its fields.
inline void fill_text(char* target, std::size_t size, std::string_view text) {
  const std::size_t length = std::min(text.size(), size - 1);
  std::copy_n(text.begin(), length, target);
  target[length] = '\0';
}

template <std::size_t size>
void fill_text(char (&target)[size], std::string_view text) {
  fill_text(target, size, text);
}

#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

/// The text in a fixed field of a record: up to its terminating zero, or the whole field when it
/// has none.
template <std::size_t size>
std::string_view field_text(const char (&field)[size]) {
  const void* const end = std::memchr(field, '\0', size);
  return {field,
          end == nullptr ? size : static_cast<std::size_t>(static_cast<const char*>(end) - field)};
}

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// What every fuzz target is: one function that takes any bytes at all. It lets nothing escape but
// what is wrong with the code under test, and ends the process then.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// The same bytes as characters.
inline std::string_view as_text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process, which is a finding, unless `holds`.
void demand(bool holds, const char* what);

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The function that every fuzz target defines. It takes any bytes; a fault of the code under test
// ends the process.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// The same bytes as characters.
inline std::string_view as_text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process unless `holds`: that is a finding.
void demand(bool holds, const char* what);

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>

/// n for a sweep that takes every n-th of its cases: KVR_SWEEP_STRIDE, which builds that are slow
/// set, or else `usual`.
inline std::size_t sweep_stride(std::size_t usual) {
  const char* const text = std::getenv("KVR_SWEEP_STRIDE");
  return text == nullptr ? usual : std::max<std::size_t>(1, std::strtoul(text, nullptr, 10));
}

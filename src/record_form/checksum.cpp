#include "record_form/checksum.h"

#include <array>

namespace {

constexpr std::uint32_t kReversedPolynomial = 0xEDB88320;

constexpr std::array<std::uint32_t, 256> make_table() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t remainder = byte;
    for (int bit = 0; bit < 8; ++bit) {
      remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kReversedPolynomial : 0);
    }
    table[byte] = remainder;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = make_table();

}  // namespace

std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t before) {
  std::uint32_t remainder = ~before;
  for (const std::byte byte : bytes) {
    const std::uint32_t index = (remainder ^ std::to_integer<std::uint32_t>(byte)) & 0xFF;
    remainder = (remainder >> 8) ^ kTable[index];
  }
  return ~remainder;
}

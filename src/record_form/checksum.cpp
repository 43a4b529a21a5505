#include "record_form/checksum.h"

#include <array>

namespace {

constexpr std::uint32_t kReversedPolynomial = 0xEDB88320;
constexpr std::size_t kStride = 8;

/// What a byte adds to the remainder when that many bytes follow it.
using Tables = std::array<std::array<std::uint32_t, 256>, kStride>;

constexpr std::uint32_t after_byte(std::uint32_t remainder) {
  for (int bit = 0; bit < 8; ++bit) {
    remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kReversedPolynomial : 0);
  }
  return remainder;
}

constexpr Tables make_tables() {
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t remainder = byte;
    for (auto& table : tables) {
      remainder = after_byte(remainder);
      table[byte] = remainder;
    }
  }
  return tables;
}

constexpr Tables kTables = make_tables();

std::uint32_t four_bytes(const std::byte* bytes) {
  const auto byte = [&](std::size_t i) { return std::to_integer<std::uint32_t>(bytes[i]); };
  return byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
}

/// Eight bytes at once, by a table each: byte by byte, a list of records would spend most of its
/// time here.
std::uint32_t after_stride(std::uint32_t remainder, const std::byte* bytes) {
  const std::uint32_t first = remainder ^ four_bytes(bytes);
  const std::uint32_t last = four_bytes(bytes + 4);
  return kTables[7][first & 0xFF] ^ kTables[6][(first >> 8) & 0xFF] ^
         kTables[5][(first >> 16) & 0xFF] ^ kTables[4][first >> 24] ^ kTables[3][last & 0xFF] ^
         kTables[2][(last >> 8) & 0xFF] ^ kTables[1][(last >> 16) & 0xFF] ^ kTables[0][last >> 24];
}

}  // namespace

std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t before) {
  std::uint32_t remainder = ~before;
  for (; bytes.size() >= kStride; bytes = bytes.subspan(kStride)) {
    remainder = after_stride(remainder, bytes.data());
  }
  for (const std::byte byte : bytes) {
    const std::uint32_t index = (remainder ^ std::to_integer<std::uint32_t>(byte)) & 0xFF;
    remainder = (remainder >> 8) ^ kTables[0][index];
  }
  return ~remainder;
}

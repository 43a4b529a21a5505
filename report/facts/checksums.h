#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// Checksums: SHA-256 (FIPS 180-4), by which a page names the bytes of its files, and the CRC-32
// with which a record store guards what it holds.

namespace report {

/// As 64 hexadecimal digits.
std::string sha256(std::string_view bytes);

/// CRC-32 of IEEE 802.3; `before` is the checksum of bytes that come before these.
std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t before = 0);

}  // namespace report

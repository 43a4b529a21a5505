#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// CRC-32 of IEEE 802.3. SQLite does not notice a changed byte inside a stored value; this does.
/// `before` is the checksum of bytes that come before these.
std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t before = 0);

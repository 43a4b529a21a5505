#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace virtual_instrument {

/// CRC-32 of IEEE 802.3. SQLite does not notice a changed byte inside a stored value; this does.
std::uint32_t crc32(std::span<const std::byte> bytes);

}  // namespace virtual_instrument

#include "record_form/checksum.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

std::uint32_t crc32_of(std::string_view text) { return crc32(std::as_bytes(std::span(text))); }

TEST(Checksum, IsTheCommonCrc32) {
  EXPECT_EQ(crc32_of("123456789"), 0xCBF43926U);
  EXPECT_EQ(crc32_of("a"), 0xE8B7BE43U);
  EXPECT_EQ(crc32_of(""), 0U);
}

TEST(Checksum, ContinuesAfterEarlierBytes) {
  EXPECT_EQ(crc32(std::as_bytes(std::span("6789", 4)), crc32_of("12345")), 0xCBF43926U);
}

}  // namespace

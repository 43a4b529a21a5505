#include "record_form/checksum.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

std::uint32_t crc32_of(std::string_view text) { return crc32(std::as_bytes(std::span(text))); }

TEST(Checksum, IsTheCommonCrc32) {
  EXPECT_EQ(crc32_of("123456789"), 0xCBF43926U);
  EXPECT_EQ(crc32_of("a"), 0xE8B7BE43U);
  EXPECT_EQ(crc32_of(""), 0U);
}

TEST(Checksum, TakesTextsOfAnyLength) {
  EXPECT_EQ(crc32_of("The quick brown fox jumps over the lazy dog"), 0x414FA339U);
  // Whole strides and the bytes behind them give what one byte after the other gives.
  std::string text;
  for (int length = 0; length < 40; ++length) {
    std::uint32_t by_bytes = 0;
    for (const char& character : text) {
      by_bytes = crc32(std::as_bytes(std::span(&character, 1)), by_bytes);
    }
    EXPECT_EQ(crc32_of(text), by_bytes) << length;
    text += static_cast<char>(0x9D * length + 7);
  }
}

TEST(Checksum, ContinuesAfterEarlierBytes) {
  EXPECT_EQ(crc32(std::as_bytes(std::span("6789", 4)), crc32_of("12345")), 0xCBF43926U);
}

}  // namespace

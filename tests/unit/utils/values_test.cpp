#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/counted_new.h"
#include "support/log_capture.h"
#include "utils/utils.h"

namespace {

struct Scaling {
  std::string prefix = "before";
  double multiplier = -1.0;

  bool operator==(const Scaling&) const = default;
};

void PrintTo(const Scaling& scaling, std::ostream* out) {
  *out << '"' << scaling.prefix << "\" " << scaling.multiplier;
}

Scaling scaling_of(double value) {
  Scaling scaling;
  Utils::toPhisValue(value, scaling.prefix, scaling.multiplier);
  return scaling;
}

TEST(ToPhisValue, PicksThePrefixByItsLowestValue) {
  const Scaling mega{"M", 1e-06};
  const Scaling kilo{"k", 0.001};
  const Scaling none{"", 1.0};
  const Scaling milli{"m", 1000.0};
  const Scaling micro{"u", 1000000.0};
  EXPECT_EQ(scaling_of(1e300), mega);
  EXPECT_EQ(scaling_of(std::numeric_limits<double>::infinity()), mega);
  EXPECT_EQ(scaling_of(1000000.0), mega);
  EXPECT_EQ(scaling_of(999999.9), kilo);
  EXPECT_EQ(scaling_of(1000.0), kilo);
  EXPECT_EQ(scaling_of(std::nextafter(1000.0, 0.0)), none);
  EXPECT_EQ(scaling_of(1.0), none);
  EXPECT_EQ(scaling_of(std::nextafter(1.0, 0.0)), milli);
  EXPECT_EQ(scaling_of(0.001), milli);
  EXPECT_EQ(scaling_of(std::nextafter(0.001, 0.0)), micro);
}

TEST(ToPhisValue, TakesTheSmallestPrefixForZeroAndAllBelow) {
  const Scaling micro{"u", 1000000.0};
  for (const double value :
       {1e-9, 0.0, -0.0, -1e-9, -1.0, -5000.0, -1e9, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(scaling_of(value), micro) << value;
  }
}

TEST(ToPhisValue, LogsTheSmallestPrefixOnly) {
  LogCapture log;
  scaling_of(0.001);
  EXPECT_EQ(log.lines, std::vector<LogLine>{});
  scaling_of(0.0);
  scaling_of(-5000.0);
  scaling_of(0.0005);
  const std::vector<LogLine> expected = {
      {plog::info, "0 will be formatted as minimal"},
      {plog::info, "-5000 will be formatted as minimal"},
      {plog::info, "0.0005 will be formatted as minimal"},
  };
  EXPECT_EQ(log.lines, expected);
}

TEST(ToPhisValue, BuildsNoTextWithoutALogThatTakesIt) {
  Scaling scaling;
  const std::size_t before = counted_new::allocations();
  Utils::toPhisValue(0.0, scaling.prefix, scaling.multiplier);
  EXPECT_EQ(counted_new::allocations(), before);
  LogCapture log(plog::warning);  // coarser than the line's severity
  const std::size_t before_silent = counted_new::allocations();
  Utils::toPhisValue(0.0, scaling.prefix, scaling.multiplier);
  EXPECT_EQ(counted_new::allocations(), before_silent);
  EXPECT_EQ(log.lines, std::vector<LogLine>{});
}

TEST(Trim, RemovesWhiteSpaceAtBothEndsOnly) {
  EXPECT_EQ(Utils::trim(" \t\n\v\f\r a b \r\n"), "a b");
  EXPECT_EQ(Utils::trim("a b"), "a b");
  EXPECT_EQ(Utils::trim("x"), "x");
  EXPECT_EQ(Utils::trim("   "), "");
  EXPECT_EQ(Utils::trim(""), "");
}

TEST(Trim, KeepsWhatIsNoWhiteSpace) {
  EXPECT_EQ(Utils::trim(std::string("\0 \0", 3)), std::string("\0 \0", 3));
  EXPECT_EQ(Utils::trim(" \xC2\xA0\xFF "), "\xC2\xA0\xFF");
}

TEST(ReplaceAll, ReplacesFromTheStartAndGoesOnAfterTheReplacement) {
  EXPECT_EQ(Utils::replace_all("a-b-c", "-", "+"), "a+b+c");
  EXPECT_EQ(Utils::replace_all("aaa", "a", "aa"), "aaaaaa");
  EXPECT_EQ(Utils::replace_all("aaaaa", "aa", "b"), "bba");
  EXPECT_EQ(Utils::replace_all("abab", "ab", ""), "");
  EXPECT_EQ(Utils::replace_all("aabb", "ab", ""), "ab");
  EXPECT_EQ(Utils::replace_all("abc", "x", "y"), "abc");
  EXPECT_EQ(Utils::replace_all("abc", "abc", "abcabc"), "abcabc");
  EXPECT_EQ(Utils::replace_all("", "a", "b"), "");
}

TEST(StripNumericSuffix, RemovesAnUnderscoreThatADigitFollows) {
  EXPECT_EQ(Utils::strip_numeric_suffix("run_12"), "run");
  EXPECT_EQ(Utils::strip_numeric_suffix("run_1x"), "run");
  EXPECT_EQ(Utils::strip_numeric_suffix("run_1_2"), "run_1");
  EXPECT_EQ(Utils::strip_numeric_suffix("_0"), "");
}

TEST(StripNumericSuffix, LeavesEveryOtherTextAlone) {
  for (const char* text :
       {"run_x12", "run_", "run", "", "_", "12", "run_1_", "run_1_x", "run_ 1", "run_\xB2"}) {
    EXPECT_EQ(Utils::strip_numeric_suffix(text), text);
  }
}

std::uint16_t crc_of(const std::vector<std::uint8_t>& bytes) {
  return Utils::crc16({bytes.data(), bytes.size()});
}

/// The same checksum in its reflected form.
std::uint16_t reflected_crc(const std::vector<std::uint8_t>& bytes) {
  unsigned crc = 0;
  for (const std::uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xA001U : crc >> 1U;
    }
  }
  return static_cast<std::uint16_t>(crc);
}

TEST(Crc16, HasTheCheckValue) {
  EXPECT_EQ(crc_of({'1', '2', '3', '4', '5', '6', '7', '8', '9'}), 0xBB3D);
}

TEST(Crc16, HasKnownValues) {
  EXPECT_EQ(crc_of({0x00}), 0x0000);
  EXPECT_EQ(crc_of({0x01}), 0xC0C1);
  EXPECT_EQ(crc_of({0x80}), 0xA001);
  EXPECT_EQ(crc_of({'A'}), 0x30C0);
  EXPECT_EQ(crc_of({0xFF}), 0x4040);
  EXPECT_EQ(crc_of({0xFF, 0xFF}), 0xB001);
}

TEST(Crc16, IsZeroForNoBytes) {
  const std::uint8_t byte = 1;
  EXPECT_EQ(Utils::crc16({nullptr, 9}), 0);
  EXPECT_EQ(Utils::crc16({nullptr, 0}), 0);
  EXPECT_EQ(Utils::crc16({&byte, 0}), 0);
}

TEST(Crc16, AgreesWithItsReflectedForm) {
  std::mt19937 random(20210305);
  for (std::size_t length = 0; length < 300; ++length) {
    std::vector<std::uint8_t> bytes(length);
    for (std::uint8_t& byte : bytes) {
      byte = static_cast<std::uint8_t>(random());
    }
    ASSERT_EQ(crc_of(bytes), reflected_crc(bytes)) << length;
  }
}

}  // namespace

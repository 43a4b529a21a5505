#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "utils/utils.h"

namespace {

TEST(NearEqual, ComparesDoublesWithinAFixedBound) {
  constexpr double kBound = 2.220446049250313e-16;
  EXPECT_TRUE(Utils::near_equal(0.0, 0.0));
  EXPECT_TRUE(Utils::near_equal(0.0, std::nextafter(kBound, 0.0)));
  EXPECT_TRUE(Utils::near_equal(std::nextafter(kBound, 0.0), 0.0));
  EXPECT_FALSE(Utils::near_equal(0.0, kBound));
  EXPECT_FALSE(Utils::near_equal(0.0, 2.3e-16));
  EXPECT_FALSE(Utils::near_equal(-kBound, 0.0));
}

TEST(NearEqual, TakesDoublesFromOneOnAsEqualOnlyWhenTheyAreTheSame) {
  EXPECT_TRUE(Utils::near_equal(1.0, 1.0));
  EXPECT_FALSE(Utils::near_equal(1.0, std::nextafter(1.0, 2.0)));
  EXPECT_TRUE(Utils::near_equal(1.0, std::nextafter(1.0, 0.0)));
  EXPECT_FALSE(Utils::near_equal(1e9, std::nextafter(1e9, 0.0)));
}

TEST(NearEqual, ComparesFloatsWithinAFixedBound) {
  constexpr float kBound = 1.1920929e-07F;
  EXPECT_TRUE(Utils::near_equal(0.0F, std::nextafter(kBound, 0.0F)));
  EXPECT_TRUE(Utils::near_equal(std::nextafter(kBound, 0.0F), 0.0F));
  EXPECT_FALSE(Utils::near_equal(0.0F, kBound));
  EXPECT_FALSE(Utils::near_equal(kBound, 0.0F));
  EXPECT_FALSE(Utils::near_equal(1.0F, std::nextafter(1.0F, 2.0F)));
  EXPECT_TRUE(Utils::near_equal(1.0F, std::nextafter(1.0F, 0.0F)));
}

TEST(NearEqual, TreatsNothingAsEqualToNan) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(Utils::near_equal(kNaN, kNaN));
  EXPECT_FALSE(Utils::near_equal(kInfinity, kInfinity));
  EXPECT_FALSE(Utils::near_equal(std::nanf(""), 0.0F));
}

TEST(EqualName, ComparesAllBytes) {
  char a[31] = "name";
  char b[31] = "name";
  EXPECT_TRUE(Utils::equal_name(a, b));
  for (char& byte : b) {
    byte = static_cast<char>(byte ^ 1);
    EXPECT_FALSE(Utils::equal_name(a, b)) << "byte " << &byte - b;
    byte = static_cast<char>(byte ^ 1);
  }
  EXPECT_TRUE(Utils::equal_name(a, b));
}

TEST(EqualBlock, ComparesAllBytes) {
  ComparedBlock a{};
  ComparedBlock b{};
  EXPECT_TRUE(Utils::equal_block(a, b));
  for (char& byte : b.bytes) {
    byte = 1;
    EXPECT_FALSE(Utils::equal_block(a, b)) << "byte " << &byte - b.bytes;
    byte = 0;
  }
}

TEST(EqualLimits, ComparesTheFlagExactlyAndTheNumbersNearly) {
  const ComparedLimits limits = {1, 0.1F, 0.2F, 0.3F, 0.4F};
  EXPECT_TRUE(Utils::equal_limits(limits, limits));
  ComparedLimits flag = limits;
  flag.enabled = 2;
  EXPECT_FALSE(Utils::equal_limits(limits, flag));
  for (float ComparedLimits::*field : {&ComparedLimits::first, &ComparedLimits::second,
                                       &ComparedLimits::third, &ComparedLimits::fourth}) {
    ComparedLimits other = limits;
    other.*field += 5e-8F;
    EXPECT_TRUE(Utils::equal_limits(limits, other));
    other.*field += 2e-7F;
    EXPECT_FALSE(Utils::equal_limits(limits, other));
    other.*field = std::nanf("");
    EXPECT_FALSE(Utils::equal_limits(limits, other));
  }
}

TEST(EqualSettings, ComparesItsFieldsAndNoOtherByte) {
  ComparedSettings settings;
  ComparedSettings other;
  auto* const bytes = reinterpret_cast<unsigned char*>(&other);
  std::memset(&settings, 3, sizeof(settings));
  for (std::size_t offset = 0; offset < sizeof(ComparedSettings); ++offset) {
    std::memset(&other, 3, sizeof(other));
    bytes[offset] = 4;
    const bool counts = offset == 4 || offset == 6 || offset == 7 ||
                        (offset >= 8 && offset <= 14) || offset == 24 || offset == 25;
    EXPECT_EQ(Utils::equal_settings(settings, other), !counts) << "byte " << offset;
  }
  std::memset(&other, 3, sizeof(other));
  EXPECT_TRUE(Utils::equal_settings(settings, other));
}

}  // namespace

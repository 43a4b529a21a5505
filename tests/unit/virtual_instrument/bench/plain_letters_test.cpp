#include "virtual_instrument/bench/plain_letters.h"

#include <gtest/gtest.h>

namespace virtual_instrument {
namespace {

TEST(LineBeyondAscii, IsThatOfTheFirstCharacterOutsideQuotesAndComments) {
  EXPECT_EQ(line_beyond_ascii("\xc3\xa4 = 1"), 1U);
  EXPECT_EQ(line_beyond_ascii("[\xc3\xa4]"), 1U);
  EXPECT_EQ(line_beyond_ascii("a = 1\r\nb = \xc3\xa4"), 2U);
  EXPECT_EQ(line_beyond_ascii("a = \"x\" \xe2\x80\x80"), 1U);
  EXPECT_EQ(line_beyond_ascii("a = '\\' \xc3\xa4"), 1U);
  EXPECT_EQ(line_beyond_ascii("a = \"\"\"x\ny\"\"\" \xc3\xa4"), 2U);
  EXPECT_EQ(line_beyond_ascii("a = \"not closed\n\xc3\xa4"), 2U);
  EXPECT_EQ(line_beyond_ascii("a = 1 # \xc3\xa4\n\nb = 2 \xc3\xa4"), 3U);
}

TEST(LineBeyondAscii, IsThatOfALetterBehindABackslashInALongText) {
  EXPECT_EQ(line_beyond_ascii("\"\"\"\\\xc9\xb8"), 1U);
  EXPECT_EQ(line_beyond_ascii("a = \"\"\"x\\ \n \xc3\xa4\"\"\""), 2U);
}

TEST(LineBeyondAscii, IsNoneWithinQuotesAndComments) {
  for (const char* const text :
       {"", "a = 1", "[\"\xc3\xa4\"]", "# \xc3\xa4", "a = 1 # \xc3\xa4\nb = 2",
        "a = \"\xc3\xa4 # \\\" \xc3\xa4\"", "a = '\xc3\xa4'",
        "a = \"\"\"\n\xc3\xa4 \" \"\" \xc3\xa4\"\"\"", "a = '''\n\xc3\xa4 ' '' \xc3\xa4'''",
        "a = \"\\", "a = \"\"\"\\n\xc3\xa4\"\"\"", "a.'b' = 1 \nb = '\xc3\xa4'",
        "a = \"\\\xc3\xa4\"", "a = \"\"\"\\\\\xc3\xa4\"\"\"",
        "a = [\"\"\"x\"\"\"\", '\xc3\xa4', '''y''''', '\xc3\xa4']",
        "\xef\xbb\xbf"
        "'\xc3\xa4' = 1",
        "\xef\xbb\xbf"
        "a = 1"}) {
    EXPECT_EQ(line_beyond_ascii(text), std::nullopt) << text;
  }
}

TEST(WithPlainLetters, HasANumberForEachByteBeyondAscii) {
  EXPECT_EQ(with_plain_letters("a = '\xc3\xa4'\n# \xff\x7f\x80"), "a = '~195~164'\n# ~255\x7f~128");
  EXPECT_EQ(with_plain_letters("\xef\xbb\xbf'\xef\xbb\xbf' = 1"), "\xef\xbb\xbf'~239~187~191' = 1");
  EXPECT_EQ(with_plain_letters(""), "");
}

}  // namespace
}  // namespace virtual_instrument

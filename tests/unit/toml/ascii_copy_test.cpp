#include "toml/ascii_copy.h"

#include <gtest/gtest.h>

#include <string>

namespace toml_file {
namespace {

struct Copied {
  std::string text;
  std::string copy;
};

class AsciiCopies : public testing::TestWithParam<Copied> {};

TEST_P(AsciiCopies, HoldNumbersAndGiveTheOriginal) {
  EXPECT_EQ(ascii_copy(GetParam().text), GetParam().copy);
  EXPECT_EQ(original_of(GetParam().copy), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    AsciiCopy, AsciiCopies,
    testing::Values(Copied{"", ""}, Copied{"a = 1 # b\r\n", "a = 1 # b\r\n"},
                    Copied{"a = '\xc3\xa4'\n# \xff\x7f\x80", "a = '~195~164'\n# ~255\x7f~128"},
                    Copied{"~", "~126"}, Copied{"~195~", "~126195~126"}, Copied{"~000", "~126000"},
                    Copied{"\xc3~", "~195~126"}, Copied{"\\u007e195", "\\u007e~000195"},
                    Copied{"\\u007E~", "\\u007E~000~126"},
                    Copied{"\\\\U0000007e\xa4", "\\\\U0000007e~000~164"},
                    Copied{"\\U0000007E", "\\U0000007E~000"},
                    Copied{"\\u07e1 \\U00007e", "\\u07e1 \\U00007e"},
                    Copied{std::string("\0\xc3\0", 3), std::string("\0~195\0", 6)}));

TEST(OriginalOf, ReadsWhatTheParserMakesOfAnEscapedSign) {
  EXPECT_EQ(original_of("~~000195"), "~195");
  EXPECT_EQ(original_of("~126~~000~126"), "~~~");
}

TEST(OriginalOf, KeepsASignThatBearsNoNumber) {
  for (const char* const text : {"~", "saw '~'", "~19", "~1a5", "~999", "~-12", "~ 12"}) {
    EXPECT_EQ(original_of(text), text);
  }
}

TEST(BeginsBeyondAscii, IsSoForTheNumberOfAByteBeyondAscii) {
  EXPECT_TRUE(begins_beyond_ascii("~195~164"));
  EXPECT_TRUE(begins_beyond_ascii("~128"));
  for (const char* const copy : {"", "a~195", "~126", "~000", "~", "~19"}) {
    EXPECT_FALSE(begins_beyond_ascii(copy)) << copy;
  }
}

}  // namespace
}  // namespace toml_file

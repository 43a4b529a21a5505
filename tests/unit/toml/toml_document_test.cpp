#include "toml/toml_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace toml_file {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// As in `2:text "x"`: the line, the kind and what is in it.
std::string shown(const TomlValue& value);

std::string shown(const TomlTable& table) {
  std::string text = "{";
  for (const auto& [key, value] : table) {
    text += " " + key + "=" + shown(value);
  }
  return text + " }";
}

struct Shown {
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::int64_t value) const { return "whole " + std::to_string(value); }
  std::string operator()(double value) const { return "number " + std::to_string(value); }
  std::string operator()(const std::string& value) const { return "text \"" + value + "\""; }
  std::string operator()(TomlMoment value) const { return "at " + std::to_string(value.seconds); }
  std::string operator()(TomlLocalTime) const { return "local"; }
  std::string operator()(const TomlTable& value) const { return shown(value); }
  std::string operator()(const TomlList& value) const {
    std::string text = "[";
    for (const TomlValue& entry : value) {
      text += " " + shown(entry);
    }
    return text + " ]";
  }
};

std::string shown(const TomlValue& value) {
  return std::to_string(value.line) + ":" + std::visit(Shown(), value.content);
}

/// A document as shown above, or its mistake as in "2: what was expected".
std::string read(std::string_view text) {
  const auto document = read_toml(text);
  if (const auto* mistake = std::get_if<TomlMistake>(&document)) {
    return std::to_string(mistake->line) + ": " + mistake->expected;
  }
  return shown(std::get<TomlTable>(document));
}

TEST(TomlDocument, HoldsValuesOfAllKindsWithTheirLines) {
  EXPECT_EQ(read("a = true\nb = -7\r\nc = 2.5\n\nd = 'x'\n[e]\nf = 2024-03-05T12:00:00.5+01:00\n"
                 "g = 2024-03-05T12:00:00\nh = 2024-03-05\ni = 12:00:00\n[[j]]\nk = [1, \n['l']]\n"
                 "[[j]]\n"),
            "{ a=1:true b=2:whole -7 c=3:number 2.500000 d=5:text \"x\" e=6:{ f=7:at 1709636400 "
            "g=8:local h=9:local i=10:local } j=11:[ 11:{ k=12:[ 12:whole 1 13:[ 13:text \"l\" ] ] "
            "} 14:{ } ] }");
  EXPECT_EQ(read(""), "{ }");
}

TEST(TomlDocument, HoldsTheNearestNumber) {
  const auto number = [](const std::string& text) {
    const auto document = read_toml("a = " + text + "\n");
    return std::get<double>(std::get<TomlTable>(document).front().value.content);
  };
  EXPECT_EQ(number("0.1"), 0.1);
  EXPECT_EQ(number("-1.7976931348623157e308"), -1.7976931348623157e308);
  EXPECT_EQ(number("2.2250738585072014E-308"), 2.2250738585072014e-308);
  EXPECT_EQ(number("+9_007_199_254_740_993.0"), 9007199254740992.0);
  EXPECT_THAT(read("a = 1\nb = 1e400\n"), StartsWith("2: "));
}

TEST(TomlDocument, TakesTablesHoweverTheyAreWritten) {
  EXPECT_EQ(read("a.b = 1\na . 'c' = { d = 2 }\n[e.f]\n[e]\n"),
            "{ a=1:{ b=1:whole 1 c=2:{ d=2:whole 2 } } e=4:{ f=3:{ } } }");
}

TEST(TomlDocument, KeepsTextsBeyondAsciiInAllKindsOfQuotes) {
  const std::string text = "\xc3\xa4 ~195 \xf0\x9f\x98\x80~";
  for (const std::string quote : {"\"", "'", "\"\"\"", "'''"}) {
    EXPECT_EQ(read("a = " + quote + text + quote), "{ a=1:text \"" + text + "\" }");
  }
  EXPECT_EQ(read("'" + text + "' = 1"), "{ " + text + "=1:whole 1 }");
  EXPECT_EQ(read("a = \"\"\"b\\\n  " + text + "\"\"\""), "{ a=1:text \"b" + text + "\" }");
}

TEST(TomlDocument, KeepsEscapedCharacters) {
  EXPECT_EQ(read(R"(a = "\u007e195 \U0000007E~ \\u007e126 \u005cu007e126 \u00e4 \t")"),
            "{ a=1:text \"~195 ~~ \\u007e126 \\u007e126 \xc3\xa4 \t\" }");
  EXPECT_EQ(read(R"(a = '\u007e195 \\U0000007e')"), R"({ a=1:text "\u007e195 \\U0000007e" })");
}

TEST(TomlDocument, HasCommentsBeyondAsciiAndAByteOrderMark) {
  EXPECT_EQ(read("\xef\xbb\xbf# \xc3\xa4\na = 1 # ~\xe2\x80\xa8\n"), "{ a=2:whole 1 }");
}

TEST(TomlDocument, TellsDifferentKeysBeyondAsciiApart) {
  EXPECT_EQ(read("'\xc3\xa4' = 1\n'\xc3\xb6' = 2\n"), "{ \xc3\xa4=1:whole 1 \xc3\xb6=2:whole 2 }");
  EXPECT_THAT(read("'\xc3\xa4' = 1\n\"\xc3\xa4\" = 2\n"),
              AllOf(StartsWith("2: "), HasSubstr("\xc3\xa4")));
}

TEST(TomlDocument, IsUtf8) {
  for (const char* const bytes :
       {"\x80", "\xc3", "\xc3\x28", "\xc0\xaf", "\xe0\x80\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80",
        "\xf5\x80\x80\x80", "\xff", "\xfe"}) {
    EXPECT_EQ(read(std::string("a = 1\n# ") + bytes + "\n"), "2: expected UTF-8") << bytes;
  }
  EXPECT_EQ(read("\xff\xfe"), "1: expected UTF-8");
}

TEST(TomlDocument, HasPlainLettersOutsideQuotes) {
  for (const std::string text :
       {"\xc3\xa4 = 1", "b\xc3\xa4 = 1", "[\xc3\xa4]", "a = \xc3\xa4", "a = 1\xc3\xa4",
        "a = 1 \xc3\xa4", "a = [\xc3\xa4]", "a = \"\\\xc3\xa4\"", "a = \"\"\"\\\xe2\x80\x80\"\"\"",
        "\xe2\x80\x80", "a\xe2\x80\x80= 1"}) {
    EXPECT_EQ(read("[x]\n" + text + "\n"),
              "2: expected plain letters outside quotes and after a backslash")
        << text;
  }
}

struct Mistaken {
  const char* text;
  const char* line;
  const char* word;
};

class TomlMistakes : public testing::TestWithParam<Mistaken> {};

TEST_P(TomlMistakes, NameTheirLineAndWhatIsWrong) {
  const auto [text, line, word] = GetParam();
  EXPECT_THAT(read(text), AllOf(StartsWith(line), HasSubstr(word)));
}

// The words are the parser's.
INSTANTIATE_TEST_SUITE_P(
    TomlDocument, TomlMistakes,
    testing::Values(
        Mistaken{"\n[a]\n[=]\n", "3: ", "expected bare key"},
        Mistaken{"[[\n", "1: ", "expected bare key"},
        Mistaken{"[a]\nb =\n", "2: ", "expected value"}, Mistaken{"a = 'b\n", "1: ", "string"},
        Mistaken{"a = \"b", "1: ", "end-of-file"}, Mistaken{"a = \"\\q\"", "1: ", "\\q"},
        Mistaken{"a = ~", "1: ", "value"}, Mistaken{"a ~ 1", "1: ", "'~'"},
        Mistaken{"a = 1\nb = 2\na = 3\n", "3: ", "cannot redefine existing integer 'a'"},
        Mistaken{"[a]\n\n[a]\n", "3: ", "cannot redefine existing table 'a'"},
        Mistaken{"a = 1\n[a]\n", "2: ", "cannot redefine existing integer 'a'"},
        Mistaken{"\na = 99999999999999999999\n", "2: ", "not representable in 64 bits"},
        Mistaken{"a = 2024-03-05T\n", "1: ", "value"},
        Mistaken{"a = 2024-03-05Tx2:00:00Z\n", "1: ", "hour"},
        Mistaken{"a = 2024-02-30\n", "1: ", "day"}));

TEST(TomlDocument, HasAnEndToValuesWithinValues) {
  EXPECT_THAT(read("a = " + std::string(10, '[') + std::string(10, ']')), StartsWith("{"));
  EXPECT_THAT(read("\na = " + std::string(100'000, '[')),
              AllOf(StartsWith("2: "), HasSubstr("depth")));
}

TEST(TomlDocument, HasAnEndToKeysOfManyParts) {
  const auto key = [](int dots) {
    std::string text = "a";
    for (int i = 0; i < dots; ++i) {
      text += ".a";
    }
    return text;
  };
  EXPECT_THAT(read("[" + key(200) + "]\n" + key(200) + " = 1\n"), StartsWith("{"));
  EXPECT_EQ(read("[x]\n" + key(201) + " = 1\n"), "2: expected at most 200 dots in a line");
  EXPECT_EQ(read("[" + key(500'000) + "]"), "1: expected at most 200 dots in a line");
}

}  // namespace
}  // namespace toml_file

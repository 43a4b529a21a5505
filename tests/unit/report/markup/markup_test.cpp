#include "report/markup/markup.h"

#include <gtest/gtest.h>

namespace report {
namespace {

TEST(Markup, EscapesTextsAndValues) {
  Markup out;
  out.open("p", {{"title", "\"<a&'>"}}).text("</p><script>alert('1')</script>").close();
  EXPECT_EQ(out.take(),
            "<p title=\"&quot;&lt;a&amp;&#39;&gt;\">&lt;/p&gt;&lt;script&gt;alert(&#39;1&#39;)"
            "&lt;/script&gt;</p>");
}

TEST(Markup, EmptyElementsAreClosedAsTheirLanguageWants) {
  Markup out;
  out.empty("br").open("svg").empty("path", {{"d", "M0 0"}}).close().empty("br");
  EXPECT_EQ(out.take(), "<br><svg><path d=\"M0 0\"/></svg><br>");
}

TEST(Markup, CleansWhatHtmlDoesNotAllow) {
  EXPECT_EQ(clean_text("a\tb\nc"), "a\tb\nc");
  EXPECT_EQ(clean_text(std::string_view("a\0b\x1f\x7f", 5)),
            "a\xef\xbf\xbd"
            "b\xef\xbf\xbd\xef\xbf\xbd");
  EXPECT_EQ(clean_text("\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"),
            "\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80");
  EXPECT_EQ(clean_text("\xe9x"), "\xef\xbf\xbdx");
  EXPECT_EQ(clean_text("\xc3"), "\xef\xbf\xbd");
  EXPECT_EQ(clean_text("\xc2\x85"), "\xef\xbf\xbd");                      // a control character
  EXPECT_EQ(clean_text("\xef\xbf\xbe"), "\xef\xbf\xbd");                  // no character
  EXPECT_EQ(clean_text("\xed\xa0\x80").find('\xed'), std::string::npos);  // half of a pair
  EXPECT_EQ(clean_text("\xc0\x80").find('\xc0'), std::string::npos);      // longer than needed
}

}  // namespace
}  // namespace report

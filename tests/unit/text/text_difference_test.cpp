#include "unit/text/text_difference.h"

#include <gtest/gtest.h>

namespace {

TEST(TextDifference, EqualTextsHaveNone) {
  EXPECT_EQ(text_difference("", ""), "");
  EXPECT_EQ(text_difference("a\nb", "a\nb"), "");
}

TEST(TextDifference, ShowsTheLinesBeforeAndFromTheFirstDifference) {
  EXPECT_EQ(text_difference("1\n2\n3\nold\n5\n", "1\n2\n3\nnew\n5\n"),
            "from line 4 on:\n 2\n 3\n-old\n-5\n+new\n+5\n");
}

TEST(TextDifference, ShowsMissingLineEndsAndLines) {
  EXPECT_EQ(text_difference("a\n", "a"), "from line 1 on:\n-a\n+a(no line end)\n");
  EXPECT_EQ(text_difference("a\n", ""), "from line 1 on:\n-a\n");
  EXPECT_EQ(text_difference("a\n", "a\n\n"), "from line 2 on:\n a\n+\n");
}

}  // namespace

#include "common/c_text.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

TEST(WriteCText, WritesAText) {
  std::ostringstream out;
  write_c_text(out, "one");
  write_c_text(out, "");
  write_c_text(out, " two");
  EXPECT_EQ(out.str(), "one two");
  EXPECT_TRUE(out.good());
}

TEST(WriteCText, SilencesTheStreamForANullText) {
  std::ostringstream out;
  out << "before ";
  write_c_text(out, nullptr);
  EXPECT_TRUE(out.bad());
  out << "lost";
  write_c_text(out, "lost too");
  EXPECT_EQ(out.str(), "before ");
}

}  // namespace

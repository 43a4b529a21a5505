#include "plan/json_lines.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/test_clock.h"

namespace {

TEST(JsonLines, HaveNothingAfterTheEnd) {
  TestClock clock;
  std::ostringstream out;
  JsonLines lines(out);
  lines.files(1, {});
  lines.files(2, {"a.csv", true, false});
  lines.end({Verdict::within, 0, 1, 1, ""});
  lines.event(KVR_RES_OK, "late", nullptr);
  const std::string text = out.str();
  EXPECT_EQ(text.substr(0, text.find("{\"line\":\"end\"")),
            "{\"line\":\"files\",\"schema\":1,\"test\":1,\"run_file\":null,\"raw_file\":null,"
            "\"complete\":true}\n"
            "{\"line\":\"files\",\"schema\":1,\"test\":2,\"run_file\":\"a.csv\","
            "\"raw_file\":\"a.csv.RAW.csv\",\"complete\":false}\n");
  EXPECT_EQ(text.find("late"), std::string::npos);
  EXPECT_TRUE(text.ends_with("\"why\":null}\n"));
}

TEST(JsonLines, TellOfEventsAndOfCodesWithoutAName) {
  TestClock clock;
  std::ostringstream out;
  JsonLines lines(out);
  lines.event(static_cast<kvr_code>(12345), "words", nullptr);
  lines.event(KVR_RES_INTERLOCK_ON, "",
              "te\xff"
              "xt");
  const std::string text = out.str();
  EXPECT_NE(
      text.find("\"code\":{\"number\":12345,\"name\":null},\"words\":\"words\",\"text\":null}"),
      std::string::npos);
  EXPECT_NE(
      text.find("\"name\":\"KVR_RES_INTERLOCK_ON\"},\"words\":\"\",\"text\":\"te\xef\xbf\xbdxt\"}"),
      std::string::npos);
}

TEST(JsonLines, KnowWhenTheyCantBeWritten) {
  TestClock clock;
  std::ostringstream out;
  JsonLines lines(out);
  EXPECT_TRUE(lines.are_written());
  out.setstate(std::ios::badbit);
  lines.files(1, {});
  EXPECT_FALSE(lines.are_written());
}

}  // namespace

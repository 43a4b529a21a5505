#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tape/format/base64.h"
#include "tape/format/line_text.h"
#include "tape/format/reader.h"
#include "tape/format/sha256.h"
#include "tape/vocabulary/layouts.h"
#include "unit/tape/sample_tape.h"

namespace {

using namespace tape;

std::string error_of(const std::string& text) {
  try {
    parse_tape(text);
  } catch (const TapeError& error) {
    return error.what();
  }
  return "none";
}

std::string first_line() {
  const std::string text = sample_tape();
  return text.substr(0, text.find('\n') + 1);
}

TEST(Base64, IsThatOfTheRfc) {
  const std::pair<const char*, const char*> kCases[] = {
      {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}};
  for (const auto& [bytes, text] : kCases) {
    EXPECT_EQ(to_base64(bytes), text);
    EXPECT_EQ(from_base64(text), bytes);
  }
  for (const char* wrong : {"Zg=", "Zg", "Zh==", "Z===", "Zm9!", "=Zm9", "Zg==Zg=="}) {
    EXPECT_EQ(from_base64(wrong), std::nullopt) << wrong;
  }
}

TEST(Sha256, IsThatOfTheStandard) {
  EXPECT_EQ(sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(sha256(std::string(1'000'000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Layouts, CoverEachRecordWithoutOverlap) {
  for (const Layout* layout : all_layouts()) {
    std::size_t end = 0;
    for (const PlainMember& member : plain_members(*layout)) {
      EXPECT_GE(member.member.offset, end) << layout->name << "." << member.path;
      end = member.member.offset + member.member.size;
    }
    EXPECT_LE(end, layout->size) << layout->name;
  }
}

TEST(TapeLines, ComeBackAsTheyWere) {
  const std::string text = sample_tape();
  const Tape tape = parse_tape(text);
  std::string again = line_of(tape.header);
  for (const Event& event : tape.events) {
    again += line_of(event);
  }
  EXPECT_EQ(again, text);
}

TEST(TapeLines, AreUtf8AndHoldNoKey) {
  const std::string text = sample_tape();
  EXPECT_EQ(text.find("secret"), std::string::npos);
  EXPECT_THAT(text, testing::HasSubstr(R"("key":"given")"));
  EXPECT_THAT(text, testing::HasSubstr(R"("raw":"V;A\n1;2\n\u00b0")"));
}

TEST(TapeReader, NamesLineAndKeyOfWhatIsWrong) {
  const std::pair<const char*, const char*> kCases[] = {
      {R"({"call":"kvr_LockAPI","n":1,"t":0})", R"(line 2: "thread": missing)"},
      {R"({"call":"kvr_LockAPI","n":0,"t":0,"thread":1})",
       R"(line 2: "n": 0 is not from 1 to 9223372036854775807)"},
      {R"({"call":"kvr_LockAPI","n":1.5,"t":0,"thread":1})", R"(line 2: "n": not a whole number)"},
      {R"({"call":"kvr_Nothing","n":1,"t":0,"thread":1})",
       R"(line 2: "call": no such name: kvr_Nothing)"},
      {R"({"call":"kvr_DeleteRecord","n":1,"t":0,"thread":1,"record_id":5})",
       R"(line 2: "record_id": not a text)"},
      {R"({"call":"kvr_DeleteRecord","n":1,"t":0,"thread":1,"record_id":"a\u0000"})",
       R"(line 2: "record_id": a zero character within a text)"},
      {R"({"call":"kvr_CodeToString","n":1,"t":0,"thread":1,"code":null})",
       R"(line 2: "code": null)"},
      {R"({"call":"kvr_Lib_Initialize","n":1,"t":0,"thread":1,"params":{"kvr_InitParams":"AAAA"}})",
       R"(line 2: "kvr_InitParams": 3 bytes instead of 32)"},
      {R"({"return":"kvr_LockAPI","n":1,"t":0,"thread":1,"code":0})",
       R"(line 2: "n": 1 is not what this thread entered last and has not left)"},
      {R"({"call":"kvr_LockAPI","n":1,"n":1,"t":0,"thread":1})", R"(line 2: "n": there twice)"},
      {R"({"news":1})", "line 2: a line of an unknown kind"},
      {R"([1])", "line 2: not an object"},
      {R"({)", "line 2: not JSON"},
      {R"([[[[[[[[[[[[]]]]]]]]]]]])", "line 2: nested too deep"},
  };
  for (const auto& [line, error] : kCases) {
    EXPECT_EQ(error_of(first_line() + line + "\n"), error);
  }
  EXPECT_EQ(error_of(""), "line 1: no first line of a tape");
  EXPECT_EQ(error_of("{\"kvr_tape\":2}\n"), R"(line 1: "kvr_tape": version 2 is not known here)");
}

TEST(TapeReader, SkipsWhatCallsItselfOptionalAndUnknownKeys) {
  const Tape tape =
      parse_tape(first_line() + "{\"news\":1,\"optional\":true}\n" +
                 R"({"call":"kvr_LockAPI","n":1,"t":0,"thread":1,"weather":{"wet":true}})" + "\n");
  EXPECT_EQ(tape.events.size(), 1U);
  EXPECT_THAT(tape.notices, testing::ElementsAre("line 2: of an unknown kind, optional"));
}

}  // namespace

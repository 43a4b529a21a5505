#include "common/errors.h"

#include <gmock/gmock.h>

#include <string>
#include <type_traits>

#include "support/log_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

kvr_code code(std::int32_t number) { return static_cast<kvr_code>(number); }

TEST(KvrException, HoldsWhereAndWhat) {
  const kvr_exception error(KVR_RES_FILE_NOT_FOUND, "GetFileSize - cannot stat file x", kLogged,
                            "GetFileSize");
  EXPECT_STREQ(error.what(), "GetFileSize GetFileSize - cannot stat file x");
  EXPECT_EQ(error.message, "GetFileSize GetFileSize - cannot stat file x");
  EXPECT_EQ(error.what(), error.message.c_str());
  EXPECT_EQ(error.code, KVR_RES_FILE_NOT_FOUND);
  EXPECT_EQ(error.codeType, kLogged);
}

TEST(KvrException, PutsOneBlankBetweenEvenEmptyTexts) {
  EXPECT_STREQ(kvr_exception(KVR_RES_OK, "", kLogged, "").what(), " ");
}

TEST(KvrException, IsAStandardException) {
  static_assert(std::is_base_of_v<std::exception, kvr_exception>);
  static_assert(std::has_virtual_destructor_v<kvr_exception>);
  static_assert(sizeof(CodeType) == 4);
  EXPECT_EQ(static_cast<int>(kLogged), 0);
  EXPECT_EQ(static_cast<int>(kSilent), 1);
  try {
    throw kvr_exception(KVR_RES_INTERNAL_ERROR, "message", kLogged, "where");
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "where message");
  }
}

TEST(KvrException, IsRememberedWithoutItsWhere) {
  const kvr_exception first(KVR_RES_OPEN_LEAD, "first", kLogged, "somewhere");
  EXPECT_EQ(last_exception_code, KVR_RES_OPEN_LEAD);
  EXPECT_EQ(last_exception_message(), "first");
  const kvr_exception second(code(4711), "second", kLogged, "elsewhere");
  EXPECT_EQ(last_exception_code, 4711);
  EXPECT_EQ(last_exception_message(), "second");
}

TEST(KvrException, IsLoggedAsAnError) {
  LogCapture log;
  const kvr_exception error(KVR_RES_TEXT_TOO_LONG, "a message", kLogged, "where");
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{plog::error,
                                  "Exception code: KVR_RES_TEXT_TOO_LONG message: a message\r\n"}));
}

TEST(KvrException, IsLoggedWithTheNumberOfAnUnknownCode) {
  LogCapture log;
  const kvr_exception error(code(-12), "a message", kLogged, "where");
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{
                  plog::error, "Exception code: Unknown error code -12 message: a message\r\n"}));
}

TEST(KvrException, IsLoggedByALoggerForErrorsOrFiner) {
  for (const plog::Severity finest : {plog::error, plog::warning, plog::info, plog::verbose}) {
    LogCapture log(finest);
    const kvr_exception error(KVR_RES_INTERNAL_ERROR, "message", kLogged, "where");
    EXPECT_EQ(log.lines.size(), 1U) << plog::severityToString(finest);
  }
  for (const plog::Severity finest : {plog::none, plog::fatal}) {
    LogCapture log(finest);
    const kvr_exception error(KVR_RES_INTERNAL_ERROR, "message", kLogged, "where");
    EXPECT_THAT(log.lines, IsEmpty()) << plog::severityToString(finest);
  }
}

TEST(KvrException, OfTheSilentTypeIsRememberedButNotLogged) {
  LogCapture log;
  const kvr_exception error(KVR_RES_DISK_FULL, "quiet", kSilent, "where");
  EXPECT_THAT(log.lines, IsEmpty());
  EXPECT_EQ(last_exception_code, KVR_RES_DISK_FULL);
  EXPECT_EQ(last_exception_message(), "quiet");
  EXPECT_EQ(error.codeType, kSilent);
  EXPECT_STREQ(error.what(), "where quiet");
}

/// Whether constructing an exception built its log text: that text of an unnamed code would replace
/// the text in the shared slot.
bool builds_its_log_text(CodeType type) {
  const std::string_view slot = CodeToText(code(200));
  const kvr_exception error(code(201), "message", type, "where");
  return slot == "Unknown error code 201";
}

TEST(KvrException, BuildsNoLogTextWithoutALoggerThatTakesIt) {
  EXPECT_FALSE(builds_its_log_text(kLogged));
  {
    const LogCapture log(plog::fatal);
    EXPECT_FALSE(builds_its_log_text(kLogged));
  }
  const LogCapture log(plog::error);
  EXPECT_FALSE(builds_its_log_text(kSilent));
  EXPECT_TRUE(builds_its_log_text(kLogged));
}

}  // namespace

#include "common/logging.h"

#include <gmock/gmock.h>

#include <chrono>
#include <optional>

#include "support/log_capture.h"
#include "support/test_clock.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<LogLine> lines_of_scope(bool log_end_at_info, plog::Severity finest) {
  LogCapture log(finest);
  { const ScopeLogger scope("WriteToDevice", log_end_at_info); }
  return log.lines;
}

TEST(ScopeLogger, LogsBothEndsAtDebug) {
  EXPECT_THAT(lines_of_scope(false, plog::debug),
              ElementsAre(LogLine{plog::debug, "WriteToDevice BEGIN"},
                          LogLine{plog::debug, "WriteToDevice END"}));
  EXPECT_THAT(lines_of_scope(false, plog::info), IsEmpty());
}

TEST(ScopeLogger, LogsItsEndAtInfoWhenAsked) {
  EXPECT_THAT(lines_of_scope(true, plog::debug),
              ElementsAre(LogLine{plog::debug, "WriteToDevice BEGIN"},
                          LogLine{plog::info, "WriteToDevice END"}));
  EXPECT_THAT(lines_of_scope(true, plog::info),
              ElementsAre(LogLine{plog::info, "WriteToDevice END"}));
  EXPECT_THAT(lines_of_scope(true, plog::warning), IsEmpty());
}

TEST(ScopeLogger, LogsInTheOrderOfTheWork) {
  LogCapture log;
  {
    const ScopeLogger outer("outer", false);
    const ScopeLogger inner("inner", true);
    EXPECT_EQ(log.lines.size(), 2U);
  }
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{plog::debug, "outer BEGIN"}, LogLine{plog::debug, "inner BEGIN"},
                          LogLine{plog::info, "inner END"}, LogLine{plog::debug, "outer END"}));
}

TEST(ScopeLogger, IsSilentWithoutALogger) {
  EXPECT_EQ(plog::get(), nullptr);
  const ScopeLogger scope("nobody listens", true);
}

/// The log of a timed section of length `duration`, and how often it read the clock.
struct TimedSection {
  std::vector<LogLine> lines;
  int clock_readings;
};

TimedSection time_section(std::chrono::nanoseconds duration, std::optional<plog::Severity> finest) {
  TestClock clock;
  std::optional<LogCapture> log;
  if (finest) {
    log.emplace(*finest);
  }
  {
    const TimerSection section("a section");
    clock.precise_now += duration;
  }
  return {log ? log->lines : std::vector<LogLine>(), clock.precise_readings};
}

std::string end_text(std::chrono::nanoseconds duration) {
  return time_section(duration, plog::warning).lines.at(0).text;
}

TEST(TimerSection, LogsItsBeginAtInfoAndItsEndAtWarning) {
  EXPECT_THAT(time_section(1500ms, plog::info).lines,
              ElementsAre(LogLine{plog::info, "BEGIN a section"},
                          LogLine{plog::warning, "END a section time: 1500ms"}));
}

TEST(TimerSection, ShowsOnlyItsEndWhereItsBeginIsTooFine) {
  EXPECT_THAT(time_section(20ms, plog::warning).lines,
              ElementsAre(LogLine{plog::warning, "END a section time: 20ms"}));
}

TEST(TimerSection, CutsTheTimeToWholeMilliseconds) {
  EXPECT_EQ(end_text(0ns), "END a section time: 0ms");
  EXPECT_EQ(end_text(999'999ns), "END a section time: 0ms");
  EXPECT_EQ(end_text(1'999'999ns), "END a section time: 1ms");
  EXPECT_EQ(end_text(-1'999'999ns), "END a section time: -1ms");  // the clock was set back
}

TEST(TimerSection, CountsMillisecondsInThirtyTwoBits) {
  EXPECT_EQ(end_text(2'147'483'647ms), "END a section time: 2147483647ms");
  EXPECT_EQ(end_text(2'147'483'648ms), "END a section time: -2147483648ms");
}

TEST(TimerSection, ReadsTheClockASecondTimeOnlyForALoggerOfWarnings) {
  EXPECT_EQ(time_section(1ms, std::nullopt).clock_readings, 1);
  EXPECT_EQ(time_section(1ms, plog::none).clock_readings, 1);
  EXPECT_EQ(time_section(1ms, plog::error).clock_readings, 1);
  EXPECT_EQ(time_section(1ms, plog::warning).clock_readings, 2);
  EXPECT_EQ(time_section(1ms, plog::verbose).clock_readings, 2);
}

/// Keeps what a log record holds besides its text.
class RecordProbe : public plog::IAppender {
 public:
  void write(const plog::Record& record) override {
    function = record.getFunc();
    file_is_empty = *record.getFile() == 0;
    object_is_null = record.getObject() == nullptr;
    line = record.getLine();
  }

  std::string function;
  bool file_is_empty = false;
  bool object_is_null = false;
  std::size_t line = 0;
};

TEST(LogRecords, HoldFunctionAndLineButNeitherFileNorObject) {
  RecordProbe probe;
  plog::Logger<PLOG_DEFAULT_INSTANCE_ID> logger(plog::verbose);
  logger.addAppender(&probe);
  const ScopeLogger scope("name", false);
  EXPECT_THAT(probe.function, HasSubstr("ScopeLogger"));
  EXPECT_TRUE(probe.file_is_empty);
  EXPECT_TRUE(probe.object_is_null);
  EXPECT_GT(probe.line, 0U);
}

}  // namespace

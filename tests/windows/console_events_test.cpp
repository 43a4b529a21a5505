#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "support/temporary_folder.h"
#include "windows_program.h"

// Console events as the system delivers them to a running program.

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kMainMenu = "2. Single Phase Test\n0. Exit\n";
constexpr const char* kSingleTest = "2\n1\n1\n1\n\n\n\n";  // from there to the start of a test
constexpr const char* kCancelling = "Cancelling current operation...\n";
constexpr const char* kCancelled = "AFTER kvr_CancelOperation\n";
constexpr const char* kSecond = " second signal - terminate immediately\n";

/// The path with its drive, so that a program in another working folder finds it.
std::string full_path(const char* path) {
  return std::filesystem::absolute(path).make_preferred().string();
}

bool shows_cancel(WindowsProgram& program) {
  return program.shows(kCancelling) && program.shows(kCancelled);
}

/// The cancel thread's last line may come in between any others.
std::string without_cancelled(std::string output) {
  if (const auto at = output.find(kCancelled); at != std::string::npos) {
    output.erase(at, std::string_view(kCancelled).size());
  }
  return output;
}

/// A program on the scripted client library, at its main menu.
class ScriptedProgram {
 public:
  explicit ScriptedProgram(const std::string& script = "")
      : program(full_path(KVR_SCRIPTED_PROGRAM), environment(script)) {
    program.type("1\n");
    EXPECT_TRUE(program.shows(kMainMenu)) << program.output();
  }

  std::string calls() const { return folder_.read("calls"); }

 private:
  WindowsProgram::Environment environment(const std::string& script) const {
    folder_.write("script", script);
    return {{"PATH", full_path(KVR_SCRIPTED_LIBRARY)},
            {"KVR_SCRIPT_FILE", folder_.prefix() + "script"},
            {"KVR_CALL_LOG", folder_.prefix() + "calls"}};
  }

  TemporaryFolder folder_;

 public:
  WindowsProgram program;
};

class StopEvent : public testing::TestWithParam<DWORD> {};

TEST_P(StopEvent, CancelsAndASecondOneEndsTheProgramWithItsNumber) {
  // A test that can't be cancelled, so the program is not at a prompt.
  ScriptedProgram scripted("kvr_Test_Ratio_1ph: 7 progress=1/2 delay=60000ms\n");
  WindowsProgram& program = scripted.program;
  program.type(kSingleTest);
  ASSERT_TRUE(program.shows("progress: 1/2\n")) << program.output();
  program.send_event(CTRL_C_EVENT);
  ASSERT_TRUE(shows_cancel(program)) << program.output();
  EXPECT_THAT(program.output(), HasSubstr("BEFORE kvr_CancelOperation\n"));
  program.send_event(GetParam());
  EXPECT_EQ(program.exit_status(), GetParam());
  EXPECT_THAT(program.output(), EndsWith(kSecond));
  EXPECT_THAT(scripted.calls(), HasSubstr("kvr_CancelOperation\n"));
  EXPECT_THAT(scripted.calls(), Not(HasSubstr("kvr_Lib_Shutdown")));
}

TEST_P(StopEvent, CancelsATestAndTheNextOneWorks) {
  ScriptedProgram scripted("kvr_Test_Ratio_1ph: 7 progress=1/2 until_cancelled\n");
  WindowsProgram& program = scripted.program;
  program.type(kSingleTest);
  ASSERT_TRUE(program.shows("progress: 1/2\n")) << program.output();
  program.send_event(GetParam());
  EXPECT_TRUE(program.shows("ERROR in last test")) << program.output();
  EXPECT_THAT(program.output(), HasSubstr(kCancelling));
  EXPECT_THAT(without_cancelled(program.output()),
              HasSubstr("\nERROR: wording of code 7\nERROR in last test"));
  program.type(std::string(kSingleTest) + "0\n");
  EXPECT_TRUE(program.shows("record_id: AUTO-2")) << program.output();
  EXPECT_EQ(program.exit_status(), 0U);
  EXPECT_THAT(program.output(), EndsWith("\nExiting...\nEND\n"));
}

INSTANTIATE_TEST_SUITE_P(Number, StopEvent,
                         testing::Values(CTRL_C_EVENT, CTRL_BREAK_EVENT, CTRL_CLOSE_EVENT,
                                         CTRL_LOGOFF_EVENT, CTRL_SHUTDOWN_EVENT, WM_CLOSE),
                         testing::PrintToStringParamName());

class OtherEvent : public testing::TestWithParam<DWORD> {};

TEST_P(OtherEvent, IsLeftToTheSystemWhichEndsTheProgram) {
  ScriptedProgram scripted;
  scripted.program.send_event(GetParam());
  scripted.program.exit_status();
  EXPECT_THAT(scripted.program.output(), EndsWith(kMainMenu));
  EXPECT_THAT(scripted.calls(), Not(HasSubstr("kvr_CancelOperation")));
  EXPECT_THAT(scripted.calls(), Not(HasSubstr("kvr_Lib_Shutdown")));
}

INSTANTIATE_TEST_SUITE_P(Number, OtherEvent, testing::Values(3, 4, 7, 15, 17),
                         testing::PrintToStringParamName());

TEST(ConsoleEvents, AreCountedAnewAtTheMainMenu) {
  ScriptedProgram scripted;
  WindowsProgram& program = scripted.program;
  for (int visit = 0; visit < 2; ++visit) {
    program.send_event(CTRL_C_EVENT);
    EXPECT_TRUE(shows_cancel(program)) << program.output();
    program.type("9\n");
    EXPECT_TRUE(program.shows(kMainMenu));
  }
  program.type("0\n");
  EXPECT_EQ(program.exit_status(), 0U);
}

TEST(ConsoleEvents, CancelATestOfTheVirtualInstrument) {
  const TemporaryFolder folder;
  folder.write("bench", "[measurement]\nduration = 60.0\n");
  WindowsProgram program(full_path(KVR_CONSOLE_TESTER),
                         {{"KVR_BENCH_FILE", folder.prefix() + "bench"}});
  program.type(std::string("1\n") + kSingleTest);
  ASSERT_TRUE(program.shows("progress: 1/")) << program.output();
  program.send_event(CTRL_BREAK_EVENT);
  EXPECT_TRUE(program.shows("ERROR in last test")) << program.output();
  folder.write("bench", "[measurement]\nduration = 0.0\n");
  program.type(std::string(kSingleTest) + "0\n");
  EXPECT_TRUE(program.shows("TNR = ")) << program.output();
  EXPECT_EQ(program.exit_status(), 0U);
  EXPECT_THAT(program.output(), EndsWith("\nExiting...\nEND\n"));
}

}  // namespace

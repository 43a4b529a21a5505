#include "shell/workbench.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "console/session.h"
#include "console/stop_handling.h"
#include "support/process.h"
#include "support/session_test.h"
#include "support/temporary_folder.h"

namespace {

using Arguments = std::vector<std::string>;

// Command lines that are answered before anything else is done: nothing is asked, no call is made
// and no folder either.
class WorkbenchCommandLine : public SessionTest {
 protected:
  WorkbenchCommandLine() { use_home_folder(home_.path().string()); }
  ~WorkbenchCommandLine() override {
    EXPECT_EQ(call_lines(), "");
    EXPECT_TRUE(std::filesystem::is_empty(home_.path()));
    EXPECT_FALSE(stop_handler);
  }

  /// Exit status, standard output and standard error.
  static std::string run(const Arguments& arguments) {
    const Console console("1\n0\n");
    testing::internal::CaptureStderr();
    const int status = run_workbench(arguments);
    EXPECT_EQ(console.unread(), "1\n0\n");
    return std::to_string(status) + "\n" + console.output() +
           testing::internal::GetCapturedStderr();
  }

 private:
  TemporaryFolder home_;
};

TEST_F(WorkbenchCommandLine, ShowsItsVersion) {
  EXPECT_EQ(run({"--version"}), "0\ntester-workbench 1.1.0.7\n");
}

TEST_F(WorkbenchCommandLine, ShowsItsUsage) {
  const std::string shown = run({"--help"});
  EXPECT_TRUE(shown.starts_with("0\nUsage: tester-workbench [--debug] [--quiet] ")) << shown;
  for (const char* const word : {"--debug ", "--quiet ", "--serialport PORT ", "--help ",
                                 "--version ", "\nExit status:\n"}) {
    EXPECT_NE(shown.find(word), std::string::npos) << word;
  }
}

TEST_F(WorkbenchCommandLine, TakesTheFirstWordThatIsToBeAnswered) {
  EXPECT_EQ(run({"--debug", "--serialport", "COM3", "--version", "--help", "nonsense"}),
            "0\ntester-workbench 1.1.0.7\n");
  EXPECT_EQ(run({"nonsense", "--version"}),
            "2\ntester-workbench: unknown word 'nonsense'\n"
            "tester-workbench --help says what it takes.\n");
}

TEST_F(WorkbenchCommandLine, RefusesWhatItDoesNotKnow) {
  const std::pair<Arguments, std::string> cases[] = {
      {{"--verbose"}, "unknown option '--verbose'"},
      {{"--Debug"}, "unknown option '--Debug'"},
      {{"-h"}, "unknown option '-h'"},
      {{"--debug=1"}, "unknown option '--debug=1'"},
      {{"--serialport=COM3"}, "unknown option '--serialport=COM3'"},
      {{"--quiet", "COM3"}, "unknown word 'COM3'"},
      {{""}, "unknown word ''"},
      {{"--serialport", "COM3", "COM4"}, "unknown word 'COM4'"},
      {{"--serialport"}, "--serialport wants a port after it"},
      {{"--debug", "--serialport"}, "--serialport wants a port after it"},
      {{"--serialport", ""}, "--serialport wants a port after it"},
      {{"--serialport", "--debug"}, "--serialport wants a port after it"},
      {{"--serialport", "COM3", "--serialport"}, "--serialport wants a port after it"},
  };
  for (const auto& [arguments, message] : cases) {
    EXPECT_EQ(run(arguments), "2\ntester-workbench: " + message +
                                  "\ntester-workbench --help says what it takes.\n");
  }
}

/// The call that starts the client library.
class WorkbenchOptions : public SessionTest {
 protected:
  WorkbenchOptions() { use_home_folder(home_.path().string()); }

  std::string start(const Arguments& arguments) {
    api.reset();
    const Console console("0\n");
    EXPECT_EQ(run_workbench(arguments), 0);
    return api.log().at(0).line;
  }

 private:
  TemporaryFolder home_;
};

TEST_F(WorkbenchOptions, AreThoseOfTheConsoleTester) {
  const std::string rest =
      " init_setting_a=1000 init_setting_b=50 status_callback=set status_context=null";
  EXPECT_EQ(start({}), "kvr_Lib_Initialize init_mode=2 debug_mode=0 quiet_mode=0" + rest);
  EXPECT_EQ(start({"--debug", "--quiet"}),
            "kvr_Lib_Initialize init_mode=2 debug_mode=1 quiet_mode=1" + rest);
  EXPECT_EQ(
      start({"--serialport", "COM3", "--quiet"}),
      "kvr_Lib_InitializeTestStation port=\"COM3\" init_mode=2 debug_mode=0 quiet_mode=1" + rest);
}

}  // namespace

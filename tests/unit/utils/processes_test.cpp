#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/platform.h"
#include "support/log_capture.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "support/thrown_exception.h"
#include "unit/utils/file_helpers.h"
#include "utils/utils.h"

namespace {

// --- ExecSystem ----------------------------------------------------------------------------------

TEST_F(FileHelpers, ExecSystemIsTrueForACommandThatSucceeds) {
  LogCapture log;
  EXPECT_TRUE(Utils::ExecSystem("exit 0", false));
  EXPECT_TRUE(Utils::ExecSystem("exit 0", true));
  EXPECT_EQ(log.lines, (LogLines{{plog::debug, "exit 0"}, {plog::debug, "exit 0"}}));
}

TEST_F(FileHelpers, ExecSystemThrowsForACommandThatFails) {
  expect_kvr_exception(KVR_RES_INTERNAL_ERROR, "ExecSystem",
                       "system command failed with error: 3 command: exit 3",
                       [] { Utils::ExecSystem("exit 3", false); });
}

TEST_F(FileHelpers, ExecSystemIsFalseWhereItMustNotThrow) {
  LogCapture log;
  EXPECT_FALSE(Utils::ExecSystem("exit 3", true));
  EXPECT_EQ(log.lines,
            (LogLines{{plog::debug, "exit 3"}, {plog::warning, "command exit 3 failed. res: 3"}}));
}

TEST_F(FileHelpers, ExecSystemSeesACommandThatIsKilled) {
  if (kIsWindows) {
    GTEST_SKIP() << "commands are not killed by signals here";
  }
  LogCapture log;
  EXPECT_FALSE(Utils::ExecSystem("kill -9 $$", true));
  EXPECT_EQ(log.lines.back(), (LogLine{plog::warning, "command kill -9 $$ failed. res: 9"}));
  expect_kvr_exception(KVR_RES_INTERNAL_ERROR, "ExecSystem",
                       "system command failed with error: 9 command: kill -9 $$",
                       [] { Utils::ExecSystem("kill -9 $$", false); });
}

TEST_F(FileHelpers, ExecSystemSeesACommandThatDoesNotExist) {
  const std::string command =
      kIsWindows ? "no-such-command-of-ours 2>nul" : "no-such-command-of-ours 2>/dev/null";
  EXPECT_FALSE(Utils::ExecSystem(command, true));
  try {
    Utils::ExecSystem(command, false);
    FAIL() << "nothing thrown";
  } catch (const kvr_exception& exception) {
    // Windows and Wine give different numbers here.
    const std::string status = kIsWindows ? std::to_string(std::system(command.c_str())) : "127";
    EXPECT_EQ(exception.what(),
              "ExecSystem system command failed with error: " + status + " command: " + command);
  }
}

// --- The environment -----------------------------------------------------------------------------

/// Sets an environment variable and restores it at the end.
class Environment {
 public:
  Environment(const std::string& name, const std::string& value)
      : name_(name), before_(platform::environment_text(name.c_str(), 32768)) {
    set_environment(name_, value);
  }
  ~Environment() { set_environment(name_, before_); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  std::string name_;
  std::string before_;
};

TEST_F(FileHelpers, TempDirectoryTextIsTheSystemsTemporaryFolder) {
  EXPECT_EQ(TempDirectoryText(), fs::temp_directory_path().string());
  if (kIsWindows) {
    return;  // its variables have other names, and the folder need not exist
  }
  const std::string own = make_folder("tmp-\xC3\xBC");
  const Environment environment("TMPDIR", own);
  EXPECT_EQ(TempDirectoryText(), own);
}

TEST_F(FileHelpers, TempDirectoryTextIsEmptyWhenThereIsNone) {
  if (kIsWindows) {
    GTEST_SKIP() << "the system answers with a folder whether it exists or not";
  }
  const Environment environment("TMPDIR", in_folder("missing"));
  EXPECT_EQ(TempDirectoryText(), "");
}

TEST_F(FileHelpers, AppDataPathIsTheVariable) {
  const Environment environment("APPDATA", "C:\\Users\\Test\\AppData");
  EXPECT_EQ(AppDataPath(), "C:\\Users\\Test\\AppData");
}

TEST_F(FileHelpers, AppDataPathHasAtMost259Bytes) {
  const std::string longest(259, 'a');
  {
    const Environment environment("APPDATA", longest);
    EXPECT_EQ(AppDataPath(), longest);
  }
  const Environment environment("APPDATA", longest + 'a');
  EXPECT_EQ(AppDataPath(), "");
}

TEST_F(FileHelpers, AppDataPathIsEmptyWhenUnset) {
  const Environment environment("APPDATA", "");
  EXPECT_EQ(AppDataPath(), "");
}

}  // namespace

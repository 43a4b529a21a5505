#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <system_error>

#include "console/stop_handling.h"
#include "shell/start_up.h"
#include "support/log_capture.h"
#include "support/process.h"
#include "support/refused_threads_posix.h"
#include "support/session_test.h"
#include "support/temporary_folder.h"

// Tests where the system refuses a thread. Each runs in a process of its own.

namespace {

using testing::Eq;
using testing::ExitedWithCode;

class RefusedThread : public SessionTest {
 protected:
  RefusedThread() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

TEST_F(RefusedThread, FailsTheRegistrationAndKeepsTheHandler) {
  EXPECT_EXIT(
      {
        refuse_new_threads();
        LogCapture log;
        const bool registered =
            SignalHandler::RegisterStopHandler([](int event) { std::cerr << "event " << event; });
        std::cerr << (registered ? "registered\n" : "refused\n");
        for (const LogLine& line : log.lines) {
          std::cerr << plog::severityToString(line.severity) << ' ' << line.text << '\n';
        }
        CtrlHandler(1);
        std::_Exit(0);
      },
      ExitedWithCode(0), Eq("refused\nERROR ERROR: could not set control handler.\nevent 1"));
}

TEST_F(RefusedThread, LetsASessionRunWithoutStopHandling) {
  EXPECT_EXIT(
      {
        refuse_new_threads();
        int status = -1;
        {
          const TemporaryFolder home;
          use_home_folder(home.path().string());
          const Console console("0\n");
          status = run_session({}, [] {});
          std::cerr << console.output().substr(console.output().find("\nExiting"));
        }
        std::cerr << status;
        std::_Exit(0);
      },
      ExitedWithCode(0), Eq("\nExiting...\nEND\n0"));
}

TEST_F(RefusedThread, CountsNoSignal) {
  EXPECT_EXIT(
      {
        refuse_new_threads();
        std::cout.rdbuf(std::cerr.rdbuf());
        try {
          stop_or_terminate(0);
        } catch (const std::system_error&) {
          std::cerr << "refused, " << (stop_signal_seen ? "counted" : "not counted");
        }
        std::_Exit(0);
      },
      ExitedWithCode(0), Eq("Cancelling current operation...\nrefused, not counted"));
}

TEST_F(RefusedThread, IsAFailureThatNoHandlerSwallows) {
  EXPECT_EXIT(
      {
        refuse_new_threads();
        std::cout.rdbuf(std::cerr.rdbuf());
        stop_handler = stop_or_terminate;
        try {
          CtrlHandler(0);
        } catch (const std::system_error&) {
          std::cerr << "passed on";  // nothing above catches it
        }
        std::_Exit(0);
      },
      ExitedWithCode(0), Eq("Cancelling current operation...\npassed on"));
}

}  // namespace

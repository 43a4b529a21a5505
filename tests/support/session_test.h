#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/console.h"
#include "support/scripted_client_api.h"
#include "support/session_state.h"
#include "support/test_clock.h"

/// A fresh session of the program, a fresh scripted library and a clock that stands still.
class SessionTest : public testing::Test {
 protected:
  SessionTest() {
    api.reset();
    reset_session();
  }
  ~SessionTest() override {
    api.reset();
    reset_session();
  }

  /// The calls so far, a line each, with their arguments.
  std::string call_lines() const {
    std::string lines;
    for (const SeenCall& call : api.log()) {
      lines += call.line + "\n";
    }
    return lines;
  }

  ScriptedClientApi& api = scripted_api();
  TestClock clock;
};

/// Ends the `pauses`-th pause of the clock with WaitedForEver.
inline void end_waiting(TestClock& clock, std::size_t pauses) {
  clock.on_sleep = [&clock, pauses](const timespec*, timespec*) -> int {
    if (clock.sleeps.size() >= pauses) {
      throw WaitedForEver();
    }
    return 0;
  };
}

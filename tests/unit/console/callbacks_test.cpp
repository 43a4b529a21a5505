#include "console/callbacks.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <limits>

#include "console/session.h"
#include "platform/platform.h"
#include "support/process.h"
#include "support/session_test.h"

namespace {

using testing::Eq;
using testing::ExitedWithCode;

class OnStatus : public SessionTest {
 protected:
  OnStatus() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

TEST_F(OnStatus, ShowsTheEventInTheWordsOfTheLibrary) {
  const Console console;
  on_status(nullptr, KVR_RES_EMERGENCY_STOP_PRESSED, nullptr);
  EXPECT_EQ(console.output(), "\nSTATUS CALLBACK: wording of code 70\n");
  EXPECT_EQ(call_lines(), "kvr_CodeToString 70\nkvr_CheckConnection\n");
}

TEST_F(OnStatus, ShowsTheDataOfTheEvent) {
  const Console console;
  on_status(nullptr, KVR_RES_RECORD_ADDED, "T1");
  on_status(nullptr, KVR_MSG_KEEP_ALIVE, "");
  EXPECT_EQ(console.output(),
            "\nSTATUS CALLBACK: wording of code 67\n"
            "data: T1\n"
            "\nSTATUS CALLBACK: wording of code 1005\n"
            "data: \n");
}

TEST_F(OnStatus, IsVisibleAtOnce) {
  const Console console;
  on_status(nullptr, KVR_RES_RECORD_ADDED, "T1");
  EXPECT_EQ(console.visible_output(), console.output());
}

TEST_F(OnStatus, IgnoresItsContext) {
  const Console console;
  int context = 0;
  on_status(&context, KVR_RES_OK, nullptr);
  EXPECT_EQ(console.output(), "\nSTATUS CALLBACK: wording of code 0\n");
}

TEST_F(OnStatus, LeavesTheSessionAloneWhileConnected) {
  const Console console;
  on_status(nullptr, KVR_RES_PEER_DISCONNECTED, "x");
  EXPECT_FALSE(exit_requested);
  EXPECT_EQ(api.count(ApiCall::Lib_Shutdown), 0U);
}

TEST_F(OnStatus, GoesOnSilentlyWhenTheLibraryHasNoWords) {
  api.answer(ApiCall::CodeToString, {.null = true});
  const Console console;
  on_status(nullptr, KVR_RES_RECORD_ADDED, "T1");
  EXPECT_EQ(console.output(), "\nSTATUS CALLBACK: ");
  EXPECT_EQ(api.count(ApiCall::CheckConnection), 1U);
}

/// Windows takes the key only from the console, which tests don't have; other systems then take a
/// byte of standard input.
const std::string kNextKey = platform::kPathSeparator == '\\' ? "k" : "x";

/// Runs in a process of its own: a status event while the connection is lost. Writes output, calls
/// and the final state to standard error.
void lose_connection(std::int32_t connection, kvr_code code, const char* text) {
  use_as_standard_input("kx");
  std::cout.rdbuf(std::cerr.rdbuf());
  ScriptedClientApi& api = scripted_api();
  api.reset();
  api.answer_always(ApiCall::CheckConnection, {.result = connection});
  api.on_call = [](const SeenCall& call) { std::cerr << '[' << call.line << "]\n"; };
  std::atexit([] {
    std::cerr << "exit_requested " << exit_requested << ", next key "
              << static_cast<char>(std::cin.get()) << '\n';
  });
  on_status(nullptr, code, text);
  std::cerr << "came back\n";
}

TEST_F(OnStatus, EndsTheProgramAfterAKeyWhenTheConnectionIsLost) {
  EXPECT_EXIT(lose_connection(1, KVR_RES_PEER_DISCONNECTED, "cable"), ExitedWithCode(1),
              Eq("\nSTATUS CALLBACK: [kvr_CodeToString 39]\n"
                 "wording of code 39\n"
                 "data: cable\n"
                 "[kvr_CheckConnection]\n"
                 "Exiting console tester...\n"
                 "[kvr_Lib_Shutdown]\n"
                 "API has been shutdown\n"
                 "exit_requested 1, next key " +
                 kNextKey + "\n"));
}

TEST_F(OnStatus, TakesAnyAnswerButZeroForALostConnection) {
  EXPECT_EXIT(lose_connection(-1, KVR_RES_OK, nullptr), ExitedWithCode(1),
              Eq("\nSTATUS CALLBACK: [kvr_CodeToString 0]\n"
                 "wording of code 0\n"
                 "[kvr_CheckConnection]\n"
                 "Exiting console tester...\n"
                 "[kvr_Lib_Shutdown]\n"
                 "API has been shutdown\n"
                 "exit_requested 1, next key " +
                 kNextKey + "\n"));
}

class OnProgress : public SessionTest {};

TEST_F(OnProgress, WritesBothNumbers) {
  const Console console;
  int context = 0;
  constexpr kvr_Progress kSteps[] = {{0, 10}, {10, 10}, {-1, -2}, {2147483647, -2147483647 - 1}};
  for (const kvr_Progress& progress : kSteps) {
    on_progress(&context, &progress);
  }
  EXPECT_EQ(console.output(),
            "progress: 0/10\n"
            "progress: 10/10\n"
            "progress: -1/-2\n"
            "progress: 2147483647/-2147483648\n");
  EXPECT_EQ(console.visible_output(), console.output());
}

}  // namespace

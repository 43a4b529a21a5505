#include "shell/tester_run.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "support/scripted_client_api.h"
#include "support/session_state.h"
#include "support/temporary_folder.h"

namespace {

using testing::ExitedWithCode;

// Each runs in a process of its own, since it takes the signals of this one; results go to standard
// error too.

void begin() {
  std::cout.rdbuf(std::cerr.rdbuf());
  scripted_api().reset();
  reset_session();
}

[[noreturn]] void run_plan_without_paper(const std::string& plan_file) {
  begin();
  scripted_api().answer_always(ApiCall::Test_Ratio_1ph, {.result = KVR_RES_SHORTED_LEAD});
  const PageMaker pages{
      [](const auto&...) {},
      [](const PlanFacts&) -> std::string { throw std::runtime_error("no paper"); }};
  std::exit(run_tester_run({"--energise", "--report", "page.html", plan_file}, pages));
}

[[noreturn]] void run_plan_whose_test_throws(const std::string& plan_file) {
  begin();
  scripted_api().on_call = [](const SeenCall& call) {
    if (call.call == ApiCall::UnlockAPI || call.call == ApiCall::Lib_Shutdown) {
      std::cerr << '[' << call.line << "]\n";
    }
  };
  scripted_api().answer(ApiCall::Test_Ratio_1ph,
                        {.meanwhile = [] { throw std::runtime_error("no memory"); }});
  std::exit(run_tester_run({"--energise", plan_file}));
}

TEST(TesterRunDeathTest, EndsInOrderWhenATestThrows) {
  const TemporaryFolder folder;
  const std::string plan_file = (folder.path() / "plan.toml").string();
  std::ofstream(plan_file) << "[[test]]\nkind = \"single-phase\"\n";
  EXPECT_EXIT(run_plan_whose_test_throws(plan_file), ExitedWithCode(30),
              "\\[kvr_UnlockAPI\\]\n\nThe plan ends early: no memory.\n\\[kvr_Lib_Shutdown\\]\n"
              "\\{\"line\":\"end\",.*\"why\":\"no memory\"\\}\n0 of 1 measurements made: refused");
}

TEST(TesterRunDeathTest, SaysWhyThereIsNoPage) {
  const TemporaryFolder folder;
  const std::string plan_file = (folder.path() / "plan.toml").string();
  std::ofstream(plan_file) << "[[test]]\nkind = \"single-phase\"\n";
  EXPECT_EXIT(run_plan_without_paper(plan_file), ExitedWithCode(30),
              "tester-run: no page, no paper\n\\{\"line\":\"end\",.*\n0 of 1 measurements made: "
              "refused");
}

}  // namespace

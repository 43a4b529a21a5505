#include "platform/platform.h"
#include "report/unattended/plan_page.h"
#include "shell/tester_run.h"

int main(int argc, char** argv) {
  report::PlanPage page;
  const PageMaker pages{
      [&page](std::size_t test, const kvr_TestRecord& record) { page.add(test, record); },
      [&page](const PlanFacts& facts) { return page.render(facts, KVR_VERSION); }};
  platform::end_process(run_tester_run({argv + (argc > 0 ? 1 : 0), argv + argc}, pages));
}

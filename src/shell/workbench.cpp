#include "shell/workbench.h"

#include "console/session.h"
#include "flows/three_phase.h"
#include "records/record_menu.h"
#include "shell/main_menu.h"
#include "shell/start_up.h"

int run_workbench(const std::vector<std::string>& arguments) {
  ends_with_its_input = true;
  return run_session(arguments, [] {
    constexpr MenuItem kItems[] = {{1, "Three Phase Test", three_phase_menu},
                                   {2, "Records", record_menu}};
    run_main_menu(kItems);
  });
}

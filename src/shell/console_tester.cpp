#include "shell/console_tester.h"

#include "flows/single_phase.h"
#include "shell/main_menu.h"
#include "shell/start_up.h"

int run_console_tester(const std::vector<std::string>& arguments) {
  return run_session(arguments, [] {
    constexpr MenuItem kItems[] = {{2, "Single Phase Test", Single_Phase}};
    run_main_menu(kItems);
  });
}

#include "shell/console_tester.h"

#include "shell/main_menu.h"
#include "shell/start_up.h"

int run_console_tester(const std::vector<std::string>& arguments) {
  return run_session(arguments, main_menu);
}

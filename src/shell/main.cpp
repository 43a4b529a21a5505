#include "platform/platform.h"
#include "shell/console_tester.h"

int main(int argc, char** argv) {
  platform::end_process(run_console_tester({argv + (argc > 0 ? 1 : 0), argv + argc}));
}

#include "platform/platform.h"
#include "shell/tester_run.h"

int main(int argc, char** argv) {
  platform::end_process(run_tester_run({argv + (argc > 0 ? 1 : 0), argv + argc}));
}

#include "platform/platform.h"
#include "shell/workbench.h"

int main(int argc, char** argv) {
  platform::end_process(run_workbench({argv + (argc > 0 ? 1 : 0), argv + argc}));
}

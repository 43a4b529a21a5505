#include "shell/console_tester.h"

int main(int argc, char** argv) {
  return run_console_tester({argv + (argc > 0 ? 1 : 0), argv + argc});
}

#include "shell/workbench.h"

int main(int argc, char** argv) { return run_workbench({argv + (argc > 0 ? 1 : 0), argv + argc}); }

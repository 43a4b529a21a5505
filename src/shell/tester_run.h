#pragma once

#include <string>
#include <vector>

/// The unattended tester: runs a plan of tests from a file without a person at the prompts.
/// `arguments` are those of the command line without the program's own path. Returns the exit
/// status. May end the process itself: on a second stop, and on a lost connection.
int run_tester_run(const std::vector<std::string>& arguments);

#pragma once

#include <string>
#include <vector>

/// The tester workbench: the console tester's start-up and connection, with a menu of what the
/// console tester does not offer. Arguments and result as for run_console_tester, but it answers
/// --help and --version, refuses arguments that it does not know with exit status 2, and ends at
/// the end of its input.
int run_workbench(const std::vector<std::string>& arguments);

#pragma once

#include <string>
#include <vector>

/// The whole program: start-up, connection, main menu, shutdown. `arguments` are those of the
/// command line without the program's own path. Returns the exit status. May end the process
/// itself: on a second stop signal, and on a lost connection.
int run_console_tester(const std::vector<std::string>& arguments);

#pragma once

#include <string>

// What tests change about their own process.

/// Sets an environment variable; an empty value removes it.
void set_environment(const std::string& name, const std::string& value);

/// Makes `folder` the one that the documents folder is in, or is; an empty one means that there is
/// none. The test process keeps it.
void use_home_folder(const std::string& folder);

/// In the child process of a death test: makes `text` and then its end the standard input, and
/// leaves the terminal, so that nothing waits for a key of the person who runs the tests.
void use_as_standard_input(const std::string& text);

/// Has the operating system send the process a Ctrl-C.
void raise_console_event();

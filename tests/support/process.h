#pragma once

#include <string>

// Functions by which tests change their own process.

/// Sets an environment variable; an empty value removes it.
void set_environment(const std::string& name, const std::string& value);

/// Makes `folder` the home folder, or on some systems the documents folder; with an empty one there
/// is none. Lasts until the process ends.
void use_home_folder(const std::string& folder);

/// In the child process of a death test: makes `text` and then its end the standard input, and
/// leaves the terminal, so that nothing waits for a key of the person who runs the tests.
void use_as_standard_input(const std::string& text);

/// Delivers a Ctrl-C to the process, as the operating system does.
void raise_console_event();

#include "support/process.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>

void set_environment(const std::string& name, const std::string& value) {
  if (value.empty()) {
    unsetenv(name.c_str());
  } else {
    setenv(name.c_str(), value.c_str(), 1);
  }
  if (name == "TZ") {
    tzset();
  }
}

void use_home_folder(const std::string& folder) {
  set_environment("HOME", folder);
  set_environment("XDG_CONFIG_HOME", "");
}

void use_as_standard_input(const std::string& text) {
  setsid();
  int ends[2] = {-1, -1};
  if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) < 0 ||
      dup2(ends[0], STDIN_FILENO) < 0) {
    std::abort();
  }
  close(ends[0]);
  close(ends[1]);
}

void raise_console_event() { kill(getpid(), SIGINT); }

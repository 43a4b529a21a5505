#pragma once

#include <string>
#include <vector>

/// The cost of a process until it had written a text, and until its end.
struct ProcessCost {
  double seconds_to_text = 0;    ///< wall time until the text came; 0 if it never did
  double seconds = 0;            ///< wall time until the process had ended
  double processor_seconds = 0;  ///< user and system time
  long peak_kib = 0;             ///< peak resident memory until the text came
};

/// The standard input of a process: `at_once`, then `after_text` once it has written `text` to its
/// standard output.
struct Dialogue {
  std::string at_once;
  std::string text;
  std::string after_text;
};

/// Runs a program found on the path. Throws std::runtime_error when it can't be started or ends
/// with anything but 0.
ProcessCost run_process(const std::vector<std::string>& arguments, const Dialogue& dialogue = {});

/// How long `timed` takes in a fork of this process that has called `before` first. Call it while
/// this process has one thread.
double seconds_in_child(void (*before)(), void (*timed)());

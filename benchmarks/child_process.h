#pragma once

#include <string>
#include <vector>

/// What a process cost from start to end, and until it had said something.
struct ProcessCost {
  double seconds_to_text = 0;    ///< of the clock, until the text came; 0 when it never did
  double seconds = 0;            ///< of the clock, until the process had ended
  double processor_seconds = 0;  ///< user and system
  long peak_kib = 0;             ///< most memory that was resident until the text came
};

/// What a process gets as its standard input: `at_once`, and `after_text` when it has written
/// `text` to its standard output.
struct Dialogue {
  std::string at_once;
  std::string text;
  std::string after_text;
};

/// Runs a program found on the path. Throws std::runtime_error when it can't be started or ends
/// with anything but 0.
ProcessCost run_process(const std::vector<std::string>& arguments, const Dialogue& dialogue = {});

/// How long `timed` takes in a copy of this process that has done `before` first. Call it while
/// this process has one thread.
double seconds_in_child(void (*before)(), void (*timed)());

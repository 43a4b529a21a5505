#pragma once

#include <string>

// A limit for code that could loop for ever without output and without waiting, so that no test
// could end it.

/// Ends the process with `message` on standard error once it has used up `seconds` of processor
/// time while this lives. One at a time. Windows has no such timer: nothing happens there, and only
/// the time limit of the test applies.
class ProcessorLimit {
 public:
  ProcessorLimit(int seconds, const std::string& message);
  ~ProcessorLimit();
  ProcessorLimit(const ProcessorLimit&) = delete;
  ProcessorLimit& operator=(const ProcessorLimit&) = delete;
};

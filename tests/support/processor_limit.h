#pragma once

#include <string>

// A limit for code that could go round and round without a word and without a wait, where no test
// gets a chance to end it.

/// Ends the process with `message` on standard error once it has used up `seconds` of processor time
/// while this lives. One at a time. Windows has no such clock that interrupts: nothing happens there,
/// and the time that a test may take is the limit.
class ProcessorLimit {
 public:
  ProcessorLimit(int seconds, const std::string& message);
  ~ProcessorLimit();
  ProcessorLimit(const ProcessorLimit&) = delete;
  ProcessorLimit& operator=(const ProcessorLimit&) = delete;
};

#pragma once

#include <chrono>
#include <string>

// Log lines around a piece of work. The programs attach no logger, so they are silent by default.

/// Logs the beginning and the end of a scope: " BEGIN" at debug, " END" at debug or info.
class ScopeLogger {
 public:
  ScopeLogger(std::string name, bool infoLevel);
  ~ScopeLogger();
  ScopeLogger(const ScopeLogger&) = delete;
  ScopeLogger& operator=(const ScopeLogger&) = delete;

 private:
  std::string name;
  bool infoLevel;
};

/// Logs how long a scope took. The end is logged at warning, the beginning at info only, so that a
/// slow section shows where its beginning does not.
class TimerSection {
 public:
  explicit TimerSection(std::string name);
  ~TimerSection();
  TimerSection(const TimerSection&) = delete;
  TimerSection& operator=(const TimerSection&) = delete;

 private:
  std::chrono::system_clock::time_point start;
  std::string name;
};

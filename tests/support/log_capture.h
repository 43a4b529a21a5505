#pragma once

#include <plog/Log.h>

#include <string>
#include <vector>

// Captures the program's log, which is written only while a logger is attached.

struct LogLine {
  plog::Severity severity;
  std::string text;

  bool operator==(const LogLine&) const = default;
};

inline void PrintTo(const LogLine& line, std::ostream* out) {
  *out << plog::severityToString(line.severity) << " \"" << line.text << '"';
}

/// Attaches a logger while it lives; before and after there is none. Keeps all lines.
class LogCapture : private plog::IAppender {
 public:
  explicit LogCapture(plog::Severity finest = plog::verbose) : logger_(finest) {
    logger_.addAppender(this);
  }

  std::vector<LogLine> lines;

 private:
  void write(const plog::Record& record) override {
    const plog::util::nstring text = record.getMessage();  // wide on some systems
    std::string narrow;
    for (const auto character : text) {
      narrow += static_cast<char>(character);  // the texts of tests are ASCII
    }
    lines.push_back({record.getSeverity(), narrow});
  }

  plog::Logger<PLOG_DEFAULT_INSTANCE_ID> logger_;
};

#pragma once

#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>

#include "flows/voltage_run.h"
#include "plan/plan.h"
#include "plan/verdict.h"

// The results of a plan as JSON, one object a line. docs/automation.md has the whole form. Every
// line says what it is ("line") and the version of the form ("schema"); a number that JSON can't
// express is the text "NaN", "Infinity" or "-Infinity"; a number in single precision has the
// fewest digits that mean it.

constexpr int kJsonSchema = 1;

/// One measurement of a plan, as the output shows it.
struct Measurement {
  std::size_t test;    ///< of the plan, from 1
  std::size_t number;  ///< within the test, from 1
  float voltage;
  kvr_code code;
  std::string words;  ///< the library's for the code; empty for KVR_RES_OK
  Judgement judgement;
  double seconds;
};

/// How a plan has ended.
struct PlanEnd {
  Verdict verdict;
  int exit_status;
  std::size_t measured;
  std::size_t planned;
  std::string why;  ///< it ended early; empty: it did not
};

/// A record with all its ratio results as one JSON object.
std::string record_json(const kvr_TestRecord& record);

/// Several threads may write. Each line is flushed.
class JsonLines {
 public:
  explicit JsonLines(std::ostream& out) : out_(out) {}

  void plan(const Plan& plan, const char* program_version);
  /// The instrument as the session knows it.
  void instrument();
  /// `record` is null for a refused test.
  void measurement(const Measurement& measurement, const PlannedTest& test,
                   const kvr_TestRecord* record);
  void files(std::size_t test, const RunFiles& files);
  void event(kvr_code code, const std::string& words, const char* text);
  /// The last line: nothing is written after it.
  void end(const PlanEnd& end);

  /// False once a line could not be written.
  bool are_written() const;

 private:
  void write(const std::string& line);

  std::ostream& out_;
  mutable std::mutex mutex_;
  bool written_ = true;
  bool ended_ = false;
};

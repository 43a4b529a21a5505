#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "plan/json_lines.h"
#include "plan/plan.h"

/// Is told of each record before it is freed, with the number of its test in the plan.
using RecordListener = std::function<void(std::size_t test, const kvr_TestRecord& record)>;

/// Runs a plan on the connected instrument, test by test, each as its dialogue runs it: the same
/// calls, requests and files, and the same words on standard output.
class PlanRunner {
 public:
  PlanRunner(const Plan& plan, JsonLines& lines, RecordListener listener = {})
      : plan_(plan), lines_(lines), listener_(std::move(listener)) {}

  /// Why this instrument can't make the tests of the plan; nothing when it can.
  std::optional<std::string> objection() const;

  /// Runs the tests until the plan or something else ends them.
  void run();

  /// Ends the plan with this verdict at the least. The first reason is the one that is kept.
  void end_with(Verdict verdict, const std::string& why);

  Verdict verdict() const;
  PlanEnd end() const;
  const std::vector<Measurement>& measurements() const { return measurements_; }
  /// What each test has left.
  const std::vector<RunFiles>& files() const { return files_; }

 private:
  void run_test(std::size_t index);
  RunFiles run_single_phase(const PlannedTest& test, const RunConduct& conduct) const;
  RunFiles run_three_phase(const PlannedTest& test, const RunConduct& conduct) const;
  bool goes_on();
  bool is_id_free(std::size_t index);
  void note(std::size_t index, std::size_t number, kvr_code code, float voltage,
            const kvr_TestRecord* record, double seconds);
  void look_for_an_end(const Measurement& measurement);

  const Plan& plan_;
  JsonLines& lines_;
  const RecordListener listener_;
  std::vector<Measurement> measurements_;
  std::vector<RunFiles> files_;
  std::optional<Verdict> heaviest_;
  bool ended_ = false;
  std::string why_;
};

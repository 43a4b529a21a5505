#pragma once

#include <optional>
#include <string>
#include <vector>

#include "plan/json_lines.h"
#include "plan/plan.h"

/// Runs a plan on the connected instrument, test by test, each as its dialogue runs it: the same
/// calls, requests and files, and the same words on standard output.
class PlanRunner {
 public:
  PlanRunner(const Plan& plan, JsonLines& lines) : plan_(plan), lines_(lines) {}

  /// Why this instrument can't make the tests of the plan; nothing when it can.
  std::optional<std::string> objection() const;

  /// Runs the tests until the plan or something else ends them.
  void run();

  /// Ends the plan with this verdict at the least. The first reason is the one that is kept.
  void end_with(Verdict verdict, const std::string& why);

  Verdict verdict() const;
  PlanEnd end() const;
  const std::vector<Measurement>& measurements() const { return measurements_; }

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
  std::vector<Measurement> measurements_;
  std::optional<Verdict> heaviest_;
  bool ended_ = false;
  std::string why_;
};

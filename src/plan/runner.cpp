#include "plan/runner.h"

#include <algorithm>
#include <chrono>
#include <iostream>

#include "api/client_api.h"
#include "common/clock.h"
#include "console/device_status.h"
#include "console/session.h"
#include "flows/requests.h"
#include "flows/single_phase.h"
#include "flows/three_phase.h"
#include "plan/stops.h"

namespace {

using Time = std::chrono::system_clock::time_point;

/// Not below 0 when the clock has been set meanwhile.
double seconds_since(Time start) {
  const std::chrono::duration<double> seconds = program_clock.precise_now() - start;
  return std::max(seconds.count(), 0.0);
}

std::string words_for(kvr_code code) {
  const char* const words = code == KVR_RES_OK ? nullptr : kvr_CodeToString(code);
  return words == nullptr ? std::string() : std::string(words);
}

/// A stop cancels the test while it blocks.
RatioTestKind cancellable(RatioTestKind tests) {
  tests.run = [run = std::move(tests.run)](float voltage, kvr_TestRequestHeader& header,
                                           kvr_ProgressHandler& progress, kvr_TestRecord*& record) {
    const CancellableCall call;
    if (stop_was_asked_for()) {
      return KVR_RES_OPERATION_CANCELLED;
    }
    return run(voltage, header, progress, record);
  };
  return tests;
}

}  // namespace

std::optional<std::string> PlanRunner::objection() const {
  constexpr std::int32_t kUndefinedInstrumentType = 1000;
  const std::int32_t type = device_info.instrument_type;
  for (const PlannedTest& test : plan_.tests) {
    if (test.three_phase) {
      continue;
    }
    if (type == kUndefinedInstrumentType) {
      return "The instrument is of an undefined type and makes no single-phase tests.";
    }
    if (type != 0 && type != 1 && (test.high_side != 1 || test.low_side != 1)) {
      return "This instrument has no choice of terminal pairs, but \"" + test.name +
             "\" asks for one.";
    }
  }
  return std::nullopt;
}

void PlanRunner::run() {
  raw_data_enabled = plan_.raw_data;
  for (std::size_t i = 0; i < plan_.tests.size() && goes_on(); ++i) {
    run_test(i);
  }
  std::cout << '\n';
  show_device_status();
  goes_on();  // a stop after the last test counts too
}

bool PlanRunner::goes_on() {
  if (stop_was_asked_for()) {
    end_with(Verdict::cancelled, "stopped");
  } else if (connection_is_lost()) {
    end_with(Verdict::refused, "the connection is lost");
  } else if (!lines_.are_written()) {
    end_with(Verdict::refused, "standard output can't be written");
  }
  return !ended_;
}

void PlanRunner::end_with(Verdict verdict, const std::string& why) {
  heaviest_ = std::max(heaviest_.value_or(verdict), verdict);
  if (!ended_) {
    ended_ = true;
    why_ = why;
    std::cout << "\nThe plan ends early: " << why << ".\n" << std::flush;
  }
}

void PlanRunner::run_test(std::size_t index) {
  const PlannedTest& test = plan_.tests[index];
  std::cout << "\n== " << index + 1 << '/' << plan_.tests.size() << ": " << test.name << " ==\n";
  show_device_status();
  if (device_status.emergency_button_pressed != 0) {
    end_with(Verdict::refused, "the emergency button is pressed");
    return;
  }
  if (!is_id_free(index)) {
    return;
  }
  std::size_t number = 0;
  Time start = program_clock.precise_now();
  const auto next_goes_on = [&] {
    start = program_clock.precise_now();
    return goes_on();
  };
  const auto tested = [&](kvr_code code, float voltage, const kvr_TestRecord* record) {
    note(index, ++number, code, voltage, record, seconds_since(start));
  };
  const RunConduct conduct{test.id, plan_.pause_ms, next_goes_on, tested};
  const LockedRun locked;
  const RunFiles files =
      test.three_phase ? run_three_phase(test, conduct) : run_single_phase(test, conduct);
  std::cout << '\n';
  lines_.files(index + 1, files);
  files_.push_back(files);
  if (!files.are_complete) {
    end_with(Verdict::refused, "a file of the run could not be written");
  }
}

bool PlanRunner::is_id_free(std::size_t index) {
  const PlannedTest& test = plan_.tests[index];
  bool exists = false;
  if (!test.id.empty()) {
    kvr_CheckRecordExists(test.id.c_str(), &exists);
  }
  if (exists) {
    std::cout << "A stored record has the ID " << test.id << " already.\n";
    note(index, 1, KVR_RES_TESTID_EXISTS, test.voltages.front().voltage, nullptr, 0);
  }
  return !exists;
}

RunFiles PlanRunner::run_single_phase(const PlannedTest& test, const RunConduct& conduct) const {
  kvr_Ratio1phRequest request = make_ratio_1ph_request();
  request.test_type = test.direction;
  request.high_side_phase = test.high_side;
  request.low_side_phase = test.low_side;
  set_nameplate_ratio(request.setup, test.nameplate_ratio);
  RatioTestKind tests = cancellable(ratio_1ph_tests(request));
  tests.may_be_stored = test.stored;
  return run_voltage_plan(test.voltages, tests, conduct);
}

RunFiles PlanRunner::run_three_phase(const PlannedTest& test, const RunConduct& conduct) const {
  kvr_Ratio3phRequest request = make_ratio_3ph_request();
  request.test_type = test.direction;
  request.testing_mode = test.method;
  request.setup.windings[0].winding_type = test.high_winding;
  request.setup.windings[1].winding_type = test.low_winding;
  if (test.shift) {
    set_phase_shift(request.setup, *test.shift);
  } else {
    set_clock(request.setup, test.clock);
  }
  set_nameplate_ratio(request.setup, test.nameplate_ratio);
  const bool may_be_stored = test.stored && !test.all_methods;
  return run_voltage_plan(test.voltages, cancellable(ratio_3ph_tests(request, may_be_stored)),
                          conduct);
}

void PlanRunner::note(std::size_t index, std::size_t number, kvr_code code, float voltage,
                      const kvr_TestRecord* record, double seconds) {
  const PlannedTest& test = plan_.tests[index];
  measurements_.push_back(
      {index + 1, number, voltage, code, words_for(code), judge(code, record, test), seconds});
  const Measurement& measurement = measurements_.back();
  lines_.measurement(measurement, test, record);
  if (listener_ && record != nullptr) {
    listener_(index + 1, *record);
  }
  const Verdict verdict = measurement.judgement.verdict;
  heaviest_ = std::max(heaviest_.value_or(verdict), verdict);
  look_for_an_end(measurement);
}

void PlanRunner::look_for_an_end(const Measurement& measurement) {
  const Verdict verdict = measurement.judgement.verdict;
  if (verdict == Verdict::cancelled) {
    end_with(verdict, "a test was cancelled");
  } else if (IsStopCode(measurement.code)) {
    end_with(Verdict::refused, measurement.code == KVR_RES_INTERLOCK_ON
                                   ? "the interlock is on"
                                   : "the emergency button is pressed");
  } else if (verdict == Verdict::refused && measurement.code != KVR_RES_TESTID_EXISTS &&
             kvr_CheckConnection() != 0) {  // the event that says so may come later
    note_lost_connection();
    end_with(verdict, "the connection is lost");
  } else if (verdict == Verdict::refused && plan_.stop_on_refused) {
    end_with(verdict, "a test was refused");
  } else if (verdict == Verdict::outside && plan_.stop_on_outside) {
    end_with(verdict, "a result is outside its limits");
  } else if (verdict == Verdict::partial && plan_.stop_on_partial) {
    end_with(verdict, "a result is partial");
  }
}

Verdict PlanRunner::verdict() const { return heaviest_.value_or(Verdict::no_limits); }

PlanEnd PlanRunner::end() const {
  const auto measured = std::count_if(
      measurements_.begin(), measurements_.end(),
      [](const Measurement& each) { return each.judgement.verdict < Verdict::refused; });
  return {verdict(), exit_status_of(verdict()), static_cast<std::size_t>(measured),
          measurements_of(plan_), why_};
}

std::size_t measurements_of(const Plan& plan) {
  std::size_t count = 0;
  for (const PlannedTest& test : plan.tests) {
    count += test.voltages.size();
  }
  return count;
}

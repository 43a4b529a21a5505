#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

#include "api/client_api.h"
#include "flows/voltage_plan.h"

/// What the kinds of ratio test differ in.
struct RatioTestKind {
  const char* columns;  ///< column line of the series file
  bool may_be_stored;   ///< false: the library is asked to keep nothing
  /// Runs one test at a voltage. Blocks until it ends.
  std::function<kvr_code(float voltage, kvr_TestRequestHeader&, kvr_ProgressHandler&,
                         kvr_TestRecord*&)>
      run;
  /// Writes the rows of a record into the series file.
  void (*write_rows)(std::ostream& file, const kvr_TestRecord& record);
};

/// Who conducts a run, and what it is told meanwhile.
struct RunConduct {
  std::string test_id;            ///< empty: the library names the record
  std::int32_t pause_ms;          ///< after each test of a series
  std::function<bool()> goes_on;  ///< asked before each test; false ends the run
  /// Told of each test: the code, and the record before it is freed; null when there is none.
  std::function<void(kvr_code code, float voltage, const kvr_TestRecord* record)> tested;
};

/// The files that a run has left.
struct RunFiles {
  std::string name;  ///< of the series or of the report; empty when there is neither
  bool has_raw_file = false;
  bool are_complete = true;  ///< false: something could not be written
};

/// Runs a voltage plan with the instrument's API locked: one test per entry, its result on standard
/// output, and the files of the run. A refused test, or one without a record, ends the run. The API
/// is unlocked on every way out.
RunFiles run_voltage_plan(const VoltagePlan& plan, const RatioTestKind& test,
                          const RunConduct& conduct);

/// The same as the dialogue has it: asks for the test ID first.
void run_voltage_plan(const VoltagePlan& plan, const RatioTestKind& test);

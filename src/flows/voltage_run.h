#pragma once

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

/// Asks for the test ID and runs a voltage plan with the instrument's API locked: one test per
/// entry, its result on standard output, and the files of the run. A refused test, or one without a
/// record, ends the run. The API is unlocked on every way out.
void run_voltage_plan(const VoltagePlan& plan, const RatioTestKind& test);

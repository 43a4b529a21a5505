#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "api/request_records.h"
#include "api/result_records.h"
#include "record_form/record_nest.h"
#include "virtual_instrument/measurement/measurements.h"

// Makes the record of a finished test.

namespace virtual_instrument {

struct RecordHead {
  std::string asset_id;
  std::string group_id;
  std::string record_id;
  kvr_SaveMode save_mode;
  kvr_TestType test_type;
  kvr_TestSetup setup;
  std::int64_t time;  ///< seconds since 1970
};

/// What a test of any kind found.
using TestResult =
    std::variant<kvr_TestData_Ratio_1ph, ThreePhaseRatio, ResistanceTest, DemagTest, ImpedanceTest,
                 kvr_TestData_Efficiency, kvr_TestData_MagneticBalance, kvr_TestData_GoNoGo,
                 DynamicResistanceTest>;

struct RecordedTest {
  TestResult data;
  std::string raw_data;
};

/// A record of one test, still without its result.
RecordNest new_record(const RecordHead& head);

/// A record of one test. `with_raw_data` false leaves its raw data null.
RecordNest make_record(const RecordHead& head, const RecordedTest& test, bool with_raw_data);

}  // namespace virtual_instrument

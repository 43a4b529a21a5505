#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "api/request_records.h"
#include "api/session_records.h"
#include "flows/voltage_plan.h"

// A plan: what an unattended run is to measure, as read from a file. Values are those that a person
// would answer in the dialogues; what a plan leaves out is what an empty answer means there.

/// A number of a result that has to lie between two others, both included.
struct Limit {
  std::string quantity;  ///< its name in the output
  double low;
  double high;
};

struct PlannedTest {
  std::string name;
  bool three_phase = false;
  kvr_TestType direction = KVR_TEST_RATIO_AUTO;
  std::string voltages_text;  ///< as the plan has it
  VoltagePlan voltages;
  double nameplate_ratio = 0;  ///< 0: none
  std::string id;              ///< empty: nothing is stored
  bool stored = true;          ///< false: not even with an ID
  std::vector<Limit> limits;

  // Single-phase tests.
  std::int32_t high_side = 1;  ///< terminal pairs, 1 to 6
  std::int32_t low_side = 1;

  // Three-phase tests.
  kvr_TestingMode method = KVR_TESTING_MODE_3PH_AUTO;
  bool all_methods = false;
  kvr_WindingType high_winding = KVR_WINDING_D;
  kvr_WindingType low_winding = KVR_WINDING_D;
  std::int32_t clock = kClockUnknown;
  std::optional<double> shift;  ///< degrees, in place of the clock
};

struct Plan {
  std::string file;  ///< its name as given

  kvr_ConnectionType connection = KVR_CONNECTION_USB_WIFI;
  std::string serial_port;  ///< of a test station; empty: none
  bool debug = false;
  bool quiet = false;

  /// What is tested, in words that are handed on to the output: name and value.
  std::vector<std::pair<std::string, std::string>> item;

  bool stop_on_refused = true;
  bool stop_on_outside = false;
  bool stop_on_partial = false;
  std::int32_t pause_ms = 1000;  ///< after each test of a series
  bool raw_data = true;

  std::vector<PlannedTest> tests;
};

/// How many measurements a plan asks for.
std::size_t measurements_of(const Plan& plan);

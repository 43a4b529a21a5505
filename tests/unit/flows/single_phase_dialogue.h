#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "flows/run_files.h"
#include "flows/single_phase.h"
#include "support/flow_test.h"

// The texts of the single-phase dialogue, and a run of it.

inline const std::string kMenu =
    "\nChoose Measurement Type\n"
    "1. Auto Test 1 Ph\n"
    "2. Ratio 1 Ph Step DOWN\n"
    "3. Ratio 1 Ph Step UP\n"
    "5. CT Test 1 Ph\n"
    "0. Exit\n";
inline const std::string kSides =
    "Hi Side connection:\n"
    "1. Ratio Phase H1-H2\n"
    "2. Ratio Phase H2-H3\n"
    "3. Ratio Phase H3-H1\n"
    "4. Ratio Phase H1-H0\n"
    "5. Ratio Phase H2-H0\n"
    "6. Ratio Phase H3-H0\n"
    "Low Side connection:\n"
    "1. Ratio Phase X1-X2\n"
    "2. Ratio Phase X2-X3\n"
    "3. Ratio Phase X3-X1\n"
    "4. Ratio Phase X1-X0\n"
    "5. Ratio Phase X2-X0\n"
    "6. Ratio Phase X3-X0\n";
inline const std::string kVoltages =
    "Enter Test Voltage \n"
    " empty for 8V,\n"
    "'A' - ascending  test, Z - descending auto test\n"
    "10x5 - auto repeating (VxN - test N times at V voltage))\n";
inline const std::string kRatio = "Nameplate ratio N:1 (leave empty for none): ";
inline const std::string kTestId = "Test ID (leave empty for date/time): ";

/// The end of each row of a series file.
inline const char* const kRowEnd = "28.647890;14.323945;14.323945;0.000000;\n";

class SinglePhase : public FlowTest {
 protected:
  SinglePhase() { device_info.instrument_type = 2; }  // no question for the sides

  /// What the flow writes after its questions.
  std::string run(const std::string& answers) {
    const Console console(answers);
    Single_Phase();
    const std::string questions = kMenu + kVoltages + kRatio + kTestId;
    EXPECT_TRUE(console.output().starts_with(questions)) << console.output();
    EXPECT_EQ(console.unread(), "");
    return console.output().substr(std::min(questions.size(), console.output().size()));
  }
  std::vector<std::int32_t> save_modes() const {
    std::vector<std::int32_t> modes;
    for (const SeenCall& call : api.seen(ApiCall::Test_Ratio_1ph)) {
      modes.push_back(call.head.save_mode);
    }
    return modes;
  }
  std::vector<std::string> test_ids() const {
    std::vector<std::string> ids;
    for (const SeenCall& call : api.seen(ApiCall::Test_Ratio_1ph)) {
      ids.emplace_back(call.head.record_id);
    }
    return ids;
  }
  kvr_Ratio1phRequest request(std::size_t test) const {
    kvr_Ratio1phRequest request;
    const Bytes body = api.seen(ApiCall::Test_Ratio_1ph).at(test).body;
    std::memcpy(&request, body.data(), sizeof request);
    return request;
  }
  std::string body_rows(std::size_t test = 0) const {
    return byte_rows(api.seen(ApiCall::Test_Ratio_1ph).at(test).body);
  }
  void expect_nothing_kept() const { EXPECT_THAT(api.complaints(), testing::IsEmpty()); }
};

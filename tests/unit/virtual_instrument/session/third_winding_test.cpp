#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

#include "unit/virtual_instrument/session/client.h"

// A client that asks for tests of windings other than H and X.

namespace virtual_instrument {
namespace {

using ThirdWindingCalls = ClientTest;

/// 2400/240/120 V.
constexpr const char* kThreeWindingBench =
    "[tertiary]\ngroup = \"d11\"\nvoltage = 120\nreactance = 0.02\n";

kvr_Ratio3phRequest three_phase(std::uint32_t connection, kvr_WindingType high, float ratio) {
  kvr_Ratio3phRequest request =
      ratio_3ph_request(KVR_TEST_RATIO_DOWN, 8, KVR_WINDING_UNDEFINED, KVR_WINDING_UNDEFINED, 0);
  request.setup.windings[0].voltage = request.setup.windings[1].voltage = 0;
  kvr_WindingSetup& from = request.setup.windings[connection == kConnectionXToY ? 1 : 0];
  from.winding_type = high;
  from.voltage = ratio;
  request.setup.windings[2].winding_type = KVR_WINDING_D;
  request.setup.windings[2].voltage = 1;
  request.setup.connection_type = connection;
  request.setup.connections[connection].clock = 11;
  return request;
}

TestAnswer run(const kvr_Ratio3phRequest& request, const std::string& id = "") {
  kvr_TestRequestHeader header =
      request_header(id, id.empty() ? KVR_SAVE_NOTHING : KVR_SAVE_NEW_RECORD);
  kvr_Ratio3phRequest copy = request;
  kvr_TestRecord* record = nullptr;
  const kvr_code code = kvr_Test_Ratio_3ph(&header, &copy, nullptr, &record);
  return {code, RecordPointer(record)};
}

TEST_F(ThirdWindingCalls, ATestOfEachPairIsKeptWithItsSetup) {
  start(kThreeWindingBench);
  for (const auto& [connection, ratio] :
       {std::pair(kConnectionHToY, 20.0F), std::pair(kConnectionXToY, 2.0F)}) {
    const std::string id = "P" + std::to_string(connection);
    const TestAnswer answer = run(three_phase(connection, KVR_WINDING_YN, ratio), id);
    ASSERT_EQ(answer.code, KVR_RES_OK);
    const TestAnswer stored = read(id);
    ASSERT_EQ(stored.code, KVR_RES_OK);
    EXPECT_EQ(stored.record->setup.connection_type, connection);
    EXPECT_EQ(stored.record->setup.connections[connection].clock, 11);
    EXPECT_EQ(stored.record->setup.windings[2].winding_type, KVR_WINDING_D);
    const kvr_TestData_Ratio_3ph& data = *stored.record->data_ratio_3ph[0];
    EXPECT_NEAR(data.ratio_3ph / data.tvr_multiplier, ratio, 0.005 * static_cast<double>(ratio));
    EXPECT_NEAR(std::remainder(data.phase_3ph - 11 * std::numbers::pi / 6, 2 * std::numbers::pi), 0,
                0.01);
    EXPECT_EQ(data.phases[1].high_side_phase[0], connection == kConnectionHToY ? 'H' : 'X');
    EXPECT_EQ(data.phases[1].low_side_phase[0], 'Y');
  }
}

TEST_F(ThirdWindingCalls, ASinglePhaseTestNamesItsTerminals) {
  start(kThreeWindingBench);
  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10);
  request.setup.windings[1].voltage = 2;
  request.setup.windings[2].voltage = 1;
  request.setup.connection_type = kConnectionXToY;
  request.high_side_phase = 5;
  request.low_side_phase = 1;
  kvr_TestRecord* made = nullptr;
  ASSERT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, &made), KVR_RES_OK);
  const RecordPointer record(made);
  const kvr_TestData_Ratio_1ph& data = *record->data_ratio_1ph[0];
  EXPECT_STREQ(data.phase.high_side_phase, "X2-X0");
  EXPECT_STREQ(data.phase.low_side_phase, "Y1-Y2");
  EXPECT_EQ(data.reference_ratio, 2);
  EXPECT_NEAR(data.phase.tvr, 2 / std::numbers::sqrt3, 0.01);
}

TEST_F(ThirdWindingCalls, AUnitWithoutTheWindingRefusesTheTest) {
  for (const char* const bench : {"", "[tertiary]\nvoltage = 120\n"}) {
    start(bench);
    for (const std::uint32_t connection : {kConnectionHToY, kConnectionXToY}) {
      EXPECT_EQ(run(three_phase(connection, KVR_WINDING_YN, 2)).code,
                KVR_RES_TEST_CONFIG_INCOMPATIBLE);
    }
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  }
}

TEST_F(ThirdWindingCalls, AnOpenLeadOfYHasNoCodeOfItsOwn) {
  start(std::string(kThreeWindingBench) + "[leads]\nopen = [\"Y1\"]\n");
  const TestAnswer answer = run(three_phase(kConnectionHToY, KVR_WINDING_YN, 20));
  ASSERT_EQ(answer.code, KVR_RES_PARTIAL_RESULT_CHECK_STATUS);
  const kvr_TestData_Ratio_3ph& data = *answer.record->data_ratio_3ph[0];
  int failed = 0;
  for (const kvr_TestData_Ratio_Phase& phase : data.phases) {
    EXPECT_TRUE(phase.status == KVR_RES_OK || phase.status == KVR_RES_OPEN_LEAD);
    failed += phase.status == KVR_RES_OPEN_LEAD ? 1 : 0;
  }
  EXPECT_EQ(failed, 2);
}

}  // namespace
}  // namespace virtual_instrument

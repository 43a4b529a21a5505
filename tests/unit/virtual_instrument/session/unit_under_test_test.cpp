#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "unit/virtual_instrument/session/client.h"
#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/measurement/three_phase_ratio.h"
#include "virtual_instrument/model/phasor.h"
#include "virtual_instrument/model/winding_group.h"

// The bench's settings of the transformer under test, observed through the exported calls.

namespace virtual_instrument {
namespace {

constexpr const char* kMagnetised = "residual_flux = [0.9, -0.5, -0.4]\n";

class UnitUnderTest : public ClientTest {
 protected:
  /// The bench of that text as set_bench() makes it.
  static Bench instant(const std::string& text) {
    return read_bench(text +
                          "[measurement]\nduration = 0\nnoise = 0\nsamples_per_period = 16\n"
                          "periods = 2\n",
                      "bench", built_in_bench())
        .bench;
  }

  static std::string transformer(const std::string& keys) { return "[transformer]\n" + keys; }

  static TestAnswer three_phase(const kvr_Ratio3phRequest& asked) {
    kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
    kvr_Ratio3phRequest request = asked;
    kvr_TestRecord* record = nullptr;
    const kvr_code code = kvr_Test_Ratio_3ph(&header, &request, nullptr, &record);
    return {code, RecordPointer(record)};
  }

  static TestAnswer three_phase(kvr_WindingType high, kvr_WindingType low, kvr_TestType type) {
    return three_phase(ratio_3ph_request(type, 20, high, low, 10));
  }

  static double single_phase_error(float voltage) {
    kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
    kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, voltage, 10);
    kvr_TestRecord* record = nullptr;
    EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, &record), KVR_RES_OK);
    return RecordPointer(record)->data_ratio_1ph[0]->phase.tnr_error;
  }
};

TEST_F(UnitUnderTest, EveryVectorGroupShowsItsClockAndTheFactorOfItsWindings) {
  start();
  for (const WindingGroup& group : three_phase_groups()) {
    set_bench(transformer("vector_group = \"" + group_name(group) + "\"\n"));
    const TestAnswer answer = three_phase(group.high, group.low, KVR_TEST_RATIO_DOWN);
    ASSERT_EQ(answer.code, KVR_RES_OK) << group_name(group);
    const kvr_TestData_Ratio_3ph& data = *answer.record->data_ratio_3ph[0];
    EXPECT_NEAR(std::remainder(degrees(data.phase_3ph) - 30.0 * group.clock, 360), 0, 0.01)
        << group_name(group);
    EXPECT_NEAR(data.tvr_multiplier, turns_factor(group), 1e-9) << group_name(group);
    EXPECT_NEAR(data.ratio_3ph, 10 * turns_factor(group), 0.05) << group_name(group);
  }
}

TEST_F(UnitUnderTest, AnAutomaticTestNestsBothDirectionsInItsRecord) {
  start();
  const TestAnswer answer = three_phase(KVR_WINDING_YN, KVR_WINDING_YN, KVR_TEST_RATIO_AUTO);
  ASSERT_EQ(answer.code, KVR_RES_OK);
  EXPECT_EQ(answer.record->test_type, KVR_TEST_RATIO_AUTO);
  const kvr_TestData_Ratio_3ph& data = *answer.record->data_ratio_3ph[0];
  EXPECT_EQ(data.test_type, KVR_TEST_RATIO_DOWN);
  ASSERT_NE(data.step_down, nullptr);
  ASSERT_NE(data.step_up, nullptr);
  EXPECT_EQ(data.step_down->test_type, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(data.step_up->test_type, KVR_TEST_RATIO_UP);
  EXPECT_EQ(data.step_up->step_up, nullptr);
}

TEST_F(UnitUnderTest, AStoredRecordKeepsBothDirections) {
  start();
  kvr_TestRequestHeader header = request_header("A1", KVR_SAVE_NEW_RECORD);
  kvr_Ratio3phRequest request =
      ratio_3ph_request(KVR_TEST_RATIO_AUTO, 20, KVR_WINDING_YN, KVR_WINDING_YN);
  kvr_TestRecord* record = nullptr;
  ASSERT_EQ(kvr_Test_Ratio_3ph(&header, &request, nullptr, &record), KVR_RES_OK);
  const RecordPointer made(record);
  const TestAnswer answer = read("A1");
  ASSERT_EQ(answer.code, KVR_RES_OK);
  const kvr_TestData_Ratio_3ph& stored = *answer.record->data_ratio_3ph[0];
  ASSERT_NE(stored.step_up, nullptr);
  EXPECT_EQ(stored.step_up->ratio_3ph, made->data_ratio_3ph[0]->step_up->ratio_3ph);
  EXPECT_EQ(stored.step_down->ratio_3ph, made->data_ratio_3ph[0]->ratio_3ph);
}

TEST_F(UnitUnderTest, AnOpenLeadLeavesAPartialResult) {
  start();
  set_bench("[leads]\nopen = [\"X2\"]\n");
  const TestAnswer answer = three_phase(KVR_WINDING_YN, KVR_WINDING_YN, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(answer.code, KVR_RES_PARTIAL_RESULT_CHECK_STATUS);
  ASSERT_NE(answer.record, nullptr);
  const kvr_TestData_Ratio_3ph& data = *answer.record->data_ratio_3ph[0];
  EXPECT_EQ(data.phases[0].status, KVR_RES_OK);
  EXPECT_EQ(data.phases[1].status, KVR_RES_OPEN_LEAD_X2);
  EXPECT_EQ(data.phases[2].status, KVR_RES_OK);
  EXPECT_EQ(data.health_state, KVR_HEALTH_BAD);
}

TEST_F(UnitUnderTest, ThreePhasesOfASinglePhaseUnitLackLeads) {
  start(transformer("vector_group = \"Ii0\"\n"));
  EXPECT_EQ(test().code, KVR_RES_OK);
  EXPECT_EQ(three_phase(KVR_WINDING_YN, KVR_WINDING_YN, KVR_TEST_RATIO_DOWN).code,
            KVR_RES_OPEN_LEAD_H3);
}

TEST_F(UnitUnderTest, ResidualFluxGoesFromTestToTest) {
  start(transformer(kMagnetised));
  const double first = single_phase_error(20);
  single_phase_error(250);
  const double later = single_phase_error(20);
  EXPECT_GT(first, 1.02 * later);
}

TEST_F(UnitUnderTest, EachLimbKeepsTheFluxThatATestLeavesInIt) {
  const std::string bench = transformer(kMagnetised);
  start(bench);
  const kvr_Ratio3phRequest request =
      ratio_3ph_request(KVR_TEST_RATIO_DOWN, 250, KVR_WINDING_YN, KVR_WINDING_YN, 10);
  const Bench settings = instant(bench);
  TransformerUnit unit = make_unit(settings);
  for (int number = 0; number < 2; ++number) {
    const ThreePhaseRatio expected = measure_three_phase_ratio(unit, request, settings, 0);
    unit.core.residual_flux = expected.residual_flux;
    const TestAnswer answer = three_phase(request);
    ASSERT_EQ(answer.code, KVR_RES_OK);
    for (int phase = 0; phase < 3; ++phase) {
      EXPECT_NEAR(answer.record->data_ratio_3ph[0]->phases[phase].current_rms /
                      expected.data.phases[phase].current_rms,
                  1, 1e-6)
          << "test " << number << " phase " << phase;
    }
  }
}

TEST_F(UnitUnderTest, AnotherResidualFluxInTheBenchBeginsAnew) {
  start(transformer(kMagnetised));
  const double first = single_phase_error(250);
  EXPECT_LT(single_phase_error(250), first);
  set_bench(transformer(kMagnetised) + "low_voltage = 240.0\n");
  EXPECT_LT(single_phase_error(250), first);  // not a new residual flux: the bench had it before
  set_bench("");
  const double clean = single_phase_error(250);
  set_bench(transformer(kMagnetised));
  EXPECT_EQ(single_phase_error(250), first);
  EXPECT_LT(clean, first);
}

TEST_F(UnitUnderTest, ResidualFluxBeginsAnewWithASession) {
  start(transformer(kMagnetised));
  const double first = single_phase_error(250);
  EXPECT_LT(single_phase_error(250), first);
  ASSERT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  ASSERT_EQ(initialize(), KVR_RES_OK);
  ASSERT_EQ(connect(), KVR_RES_OK);
  EXPECT_EQ(single_phase_error(250), first);
}

class Series : public UnitUnderTest {
 protected:
  /// Errors of a series of tests in a session of its own, by voltage.
  std::map<float, double> errors(const std::string& bench, const std::vector<float>& voltages) {
    std::map<float, double> result;
    start(bench);
    for (const float voltage : voltages) {
      result[voltage] = single_phase_error(voltage);
    }
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
    return result;
  }

  const std::vector<float> ascending_{8, 40, 100, 250};
  const std::vector<float> descending_{250, 100, 40, 8};
};

TEST_F(Series, AgreeBothWaysWithoutResidualFlux) {
  const std::map<float, double> up = errors("", ascending_);
  EXPECT_EQ(up, errors("", descending_));
  EXPECT_GT(up.at(8), up.at(40));  // towards low voltage iron is less permeable
  EXPECT_GT(up.at(40), up.at(100));
  EXPECT_GT(up.at(100), up.at(250));
}

TEST_F(Series, DifferBothWaysWithResidualFlux) {
  const std::map<float, double> up = errors(transformer(kMagnetised), ascending_);
  const std::map<float, double> down = errors(transformer(kMagnetised), descending_);
  for (const float voltage : {8.0F, 40.0F, 100.0F}) {
    EXPECT_GT(up.at(voltage), 1.01 * down.at(voltage)) << voltage;
  }
  EXPECT_LT(up.at(250), down.at(250));  // what came before has taken some of the flux
}

// Everything that a record holds, its raw data included, but for what hangs from pointers.
std::string bytes_of(const TestAnswer& answer) {
  std::string bytes = std::to_string(answer.code) + answer.record->raw_data;
  const auto add = [&bytes](const auto& data) {
    bytes.append(reinterpret_cast<const char*>(&data), sizeof(data));
  };
  if (answer.record->data_ratio_1ph != nullptr) {
    add(*answer.record->data_ratio_1ph[0]);
    return bytes;
  }
  kvr_TestData_Ratio_3ph data = *answer.record->data_ratio_3ph[0];
  for (kvr_TestData_Ratio_3ph* nested : {data.step_down, data.step_up}) {
    if (nested != nullptr) {
      add(*nested);
    }
  }
  data.step_down = data.step_up = nullptr;
  add(data);
  return bytes;
}

TEST_F(UnitUnderTest, TheSameBenchAndDialogueGiveTheSameBytes) {
  const std::string bench = transformer(kMagnetised) + "[measurement]\nduration = 0\nnoise = 0.3\n";
  std::vector<std::string> sessions;
  for (int number = 0; number < 2; ++number) {
    start(bench);
    std::string bytes = bytes_of(test());
    bytes += bytes_of(three_phase(KVR_WINDING_YN, KVR_WINDING_YN, KVR_TEST_RATIO_AUTO));
    bytes += bytes_of(test());
    sessions.push_back(bytes);
    ASSERT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  }
  EXPECT_TRUE(sessions[0] == sessions[1]);
}

}  // namespace
}  // namespace virtual_instrument
